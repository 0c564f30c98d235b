// A test in a network of its own; skipped where the machine gives none.
#pragma once

#include "NetNamespace.h"
#include "SocketSupport.h"

// Before the log, whose thread would stay outside.
class OwnNetwork {
  protected:
    NetNamespace m_network;
};

class NetTest : protected OwnNetwork, public SocketTest {
  protected:
    void SetUp() override {
        if (!m_network.Missing().empty())
            GTEST_SKIP() << m_network.Missing();
    }
};

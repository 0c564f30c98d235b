// zrpeer as a real process with the test in the service's place on its sockets. One thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>

#include "Peer/ZRPeer.h"
#include "Simulation/CardSignal.h"
#include "Support/ChildProcess.h"
#include "Support/ScratchDir.h"
#include "Support/WaitUntil.h"

class ToolFixture : public testing::Test {
  protected:
    // Starts zrpeer with `arguments`.
    void Start(const std::string &name, std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), ZR_BINARY_DIR "/bin/zrpeer");
        m_tool = std::make_unique<ChildProcess>(name, arguments);
    }

    // The same, waiting until the tool receives on its socket.
    void StartReceiver(const std::string &name, const std::vector<std::string> &arguments) {
        ASSERT_EQ(m_toPeer.Open(), 0);
        Start(name, arguments);
        const stModIpcMsg nothing = zrpeer::EmptyMessage(EM_IPC_MSGCMD_AUDIO, 0, EM_IPC_MODTYPE_FPGA);
        ASSERT_TRUE(WaitUntil([&] { return m_toPeer.Send(nothing, zrpeer::AUDIO_FROM_SERVICE, 0) == 0; }));
    }

    // The period number `number` of the card's signal.
    static zrpeer::AudioBlock Period(int number) {
        zrpeer::AudioBlock block;
        zr_card_planar(static_cast<std::uint64_t>(number) * zrpeer::BLOCK_FRAMES, block.front().data());
        return block;
    }

    // Sends a period to the tool as the service does.
    void SendPeriod(int number) {
        const stModIpcMsg msg = zrpeer::AudioMessage(Period(number), EM_IPC_MODTYPE_FPGA);
        ASSERT_EQ(m_toPeer.Send(msg, zrpeer::AUDIO_FROM_SERVICE, 5000), 0);
    }

    // Waits until the tool has taken everything that was sent to it.
    void WaitUntilTaken() {
        ASSERT_TRUE(WaitUntil([this] {
            int waiting = 1;
            return ioctl(m_toPeer.Descriptor(), SIOCOUTQ, &waiting) == 0 && waiting == 0;
        }));
    }

    // The next audio that the tool sent, as the service checks it.
    void ReceiveBlock(zrpeer::AudioBlock &block) {
        stModIpcMsg msg;
        ASSERT_EQ(m_fromPeer.Receive(msg, 5000), 1547);
        ASSERT_EQ(zrpeer::Check(msg, 1547, EM_IPC_MODTYPE_AUDSTREAM), zrpeer::Fault::None);
        ASSERT_TRUE(zrpeer::GetAudio(msg, block));
    }

    // Expects the end of the tool with `status` and these two texts.
    void ExpectEnd(int status, const std::string &output, const std::string &errors) {
        const ExitStatus end = m_tool->Wait(20000);
        EXPECT_FALSE(end.timedOut);
        EXPECT_TRUE(end.exited);
        EXPECT_EQ(end.code, status);
        EXPECT_EQ(m_tool->Stdout(), output);
        EXPECT_EQ(m_tool->Stderr(), errors);
    }

    ScratchDir m_directory;
    zrpeer::Socket m_toPeer;
    zrpeer::Socket m_fromPeer;
    std::unique_ptr<ChildProcess> m_tool;
};

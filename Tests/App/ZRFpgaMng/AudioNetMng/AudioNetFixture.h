// The running network bridge on real stream buffers and sockets, the card's side of
// the buffers in the test's hands.
#pragma once

#include <gtest/gtest.h>
#include <sys/uio.h>
#include <unistd.h>

#include "Support/DatagramSocket.h"
#include "Support/LogCapture.h"
#include "Support/WaitUntil.h"
#include "ZRFpgaMng/AudioNetMng/AudioNet.h"
#include "ZRFpgaMng/ZRBuffer/ZRBuffer.h"

constexpr char TO_PEER[] = "/tmp/AudioStream_Fpga_to_Arm";
constexpr char FROM_PEER[] = "/tmp/AudioStream_Arm_to_Fpga";
constexpr char CONTROL[] = "/tmp/CtrlStream_Arm_to_Fpga";

class AudioNetBridge : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(CZRBuffer::instance()->Open(), 1);
        m_capture = CZRBuffer::instance()->GetBufferOpsHdl(DIRECT_IN, CZRBuffer::WR_ONLY);
        m_playback = CZRBuffer::instance()->GetBufferOpsHdl(DIRECT_OUT, CZRBuffer::RD_ONLY);
        ASSERT_TRUE(AudioNet::instance()->Init());
        ASSERT_TRUE(WaitForThreadNamed("NetSend"));
        ASSERT_TRUE(WaitForThreadNamed("NetRecv"));
        m_log.Clear();
    }

    // The bridge itself leaves its socket files behind.
    void TearDown() override {
        unlink(FROM_PEER);
        unlink(CONTROL);
    }

    // Stores one record as the capture side does.
    void Capture(uint16_t length, DatagramSocket::Bytes payload) {
        iovec record[2] = {{&length, sizeof(length)}, {payload.data(), payload.size()}};
        ASSERT_GT(CZRBuffer::instance()->Write(m_capture, record, 2), 0);
    }

    struct Record {
        int size = 0; // 0: none came in time
        uint16_t length = 0;
        DatagramSocket::Bytes payload = DatagramSocket::Bytes(1536);
    };

    // Takes one record as the playback side does, waiting for it.
    Record Play(int timeoutMs = 5000) {
        Record record;
        iovec vec[2] = {{&record.length, sizeof(record.length)}, {record.payload.data(), record.payload.size()}};
        record.size = CZRBuffer::instance()->Read(m_playback, vec, 2, timeoutMs);
        return record;
    }

    // The two report lines as they stand now.
    std::vector<std::string> Counters() {
        AudioNet::instance()->PrintNodeInfo();
        std::vector<std::string> report;
        for (const std::string &text : m_log.Texts())
            if (text.starts_with("D [Net]"))
                report.push_back(text);
        return {report.end() - 2, report.end()};
    }

    // Waits until the receive line of the report equals `wanted`.
    bool WaitForReceiveCounters(const std::string &wanted) {
        return WaitUntil([&] { return Counters().back() == "D [Net]RecvThread " + wanted; });
    }

    LogCapture m_log;
    DatagramSocket m_sender;
    void *m_capture = nullptr;
    void *m_playback = nullptr;
};

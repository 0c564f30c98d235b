// Set-up of the network bridge: order, log lines, repeated and failed starts.
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

#include "AudioNetFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

class AudioNetSetUp : public testing::Test {
  protected:
    void TearDown() override {
        std::filesystem::remove_all(CONTROL);
        std::filesystem::remove(FROM_PEER);
    }

    LogCapture m_log;
};

TEST_F(AudioNetSetUp, NeedsOpenStreamBuffers) {
    EXPECT_FALSE(AudioNet::instance()->Init());
    EXPECT_THAT(m_log.TextsOf("AudioNet.cpp"), ElementsAre("I #### AudioNet ####", "E GetBufferOpsHdl error"));
}

TEST_F(AudioNetSetUp, LogsItsHandlesAndStarts) {
    CZRBuffer::instance()->Open();
    EXPECT_TRUE(AudioNet::instance()->Init());
    EXPECT_THAT(m_log.TextsOf("AudioNet.cpp"),
                ElementsAre("I #### AudioNet ####", MatchesRegex("D m_BufferHdlMap\\[0\\]=0x[0-9a-f]+"),
                            MatchesRegex("D m_BufferHdlMap\\[1\\]=0x[0-9a-f]+")));
    EXPECT_TRUE(WaitForThreadNamed("NetSend"));
    EXPECT_TRUE(WaitForThreadNamed("NetRecv"));
    EXPECT_TRUE(WaitForThreadNamed("CZRIpc"));
}

TEST_F(AudioNetSetUp, TakesTheEndsThatThePcmBridgeDoesNot) {
    CZRBuffer::instance()->Open();
    m_log.Clear();
    ASSERT_TRUE(AudioNet::instance()->Init());
    EXPECT_THAT(m_log.TextsOf("ZRBuffer.cpp"),
                ElementsAre("D Get direct:0, mode:0", "W Warning, direct 0 mode 0 BufChanHdl is used",
                            "D Get direct:1, mode:1", "W Warning, direct 1 mode 1 BufChanHdl is used"));
}

TEST_F(AudioNetSetUp, SecondInitOnlyWarns) {
    CZRBuffer::instance()->Open();
    ASSERT_TRUE(AudioNet::instance()->Init());
    ASSERT_TRUE(WaitForThreadNamed("NetSend"));
    ASSERT_TRUE(WaitForThreadNamed("NetRecv"));
    ASSERT_TRUE(WaitForThreadNamed("CZRIpc"));
    const int threads = ThreadCount();
    ASSERT_TRUE(WaitUntil([&] { return m_log.TextsOf("ZRIpc.cpp").size() == 1; }));
    m_log.Clear();
    EXPECT_TRUE(AudioNet::instance()->Init());
    EXPECT_THAT(m_log.Texts(), ElementsAre("W module already init!!!!"));
    EXPECT_LE(ThreadCount(), threads); // the log's thread may just have ended
}

TEST_F(AudioNetSetUp, AnEndpointThatCannotBindEndsTheStart) {
    std::filesystem::remove_all(CONTROL); // left by a service that was killed
    std::filesystem::create_directories(std::string(CONTROL) + "/occupied");
    CZRBuffer::instance()->Open();
    EXPECT_FALSE(AudioNet::instance()->Init());
    EXPECT_EQ(m_log.TextsOf("AudioNet.cpp").back(), "E IPCStreamer init error!!!");
    EXPECT_FALSE(WaitForThreadNamed("NetSend", 50));
}

TEST_F(AudioNetSetUp, ReplacesAStaleSocketFile) {
    std::ofstream(CONTROL) << "stale";
    CZRBuffer::instance()->Open();
    EXPECT_TRUE(AudioNet::instance()->Init());
}

TEST_F(AudioNetSetUp, UnInitWithoutInitDoesNothing) {
    AudioNet::instance();
    m_log.Clear();
    AudioNet::instance()->UnInit();
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(AudioNetSetUp, ReportStartsAtZero) {
    AudioNet::instance();
    m_log.Clear();
    AudioNet::instance()->PrintNodeInfo();
    EXPECT_THAT(m_log.Texts(), ElementsAre("D [Net]SendThread RdBuffer:0 SndSuc:0 SndErr:0",
                                           "D [Net]RecvThread WrBuffer:0 RcvSuc:0 RcvErr:0"));
}

} // namespace

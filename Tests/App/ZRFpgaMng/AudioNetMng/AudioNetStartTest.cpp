// A start of the network bridge that gets no thread, and the end of the process after
// it and under the running threads.
#include <cstdlib>
#include <system_error>
#include <thread>

#include <gmock/gmock.h>

#include "AudioNetFixture.h"

using testing::KilledBySignal;

namespace {

int threadsLeft = 1000; // std::thread objects that may still start

} // namespace

extern "C" {
// std::thread::_M_start_thread, through the linker's --wrap.
void __real__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(void *, void *,
                                                                                                  void (*)());
void __wrap__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(void *thread,
                                                                                                  void *state,
                                                                                                  void (*depend)()) {
    if (threadsLeft-- <= 0)
        throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
    __real__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(thread, state, depend);
}
}

namespace {

class AudioNetStart : public testing::Test {
  protected:
    void SetUp() override { CZRBuffer::instance()->Open(); }

    void TearDown() override {
        unlink(FROM_PEER);
        unlink(CONTROL);
    }

    // Starts the bridge with so many threads to be had; what it printed.
    static std::string FailToStart(int threads) {
        threadsLeft = threads;
        testing::internal::CaptureStdout();
        EXPECT_FALSE(AudioNet::instance()->Init());
        threadsLeft = 1000;
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }

    LogCapture m_log;
};

constexpr char NO_THREAD[] = "error, create MergeThread exception: Resource temporarily unavailable\n";

TEST_F(AudioNetStart, AThreadThatCannotStartIsSaidOnStandardOutputAndNothingIsUndone) {
    EXPECT_EQ(FailToStart(0), NO_THREAD);
    EXPECT_FALSE(WaitForThreadNamed("NetSend", 50));
    EXPECT_FALSE(WaitForThreadNamed("NetRecv", 50));
    AudioNet::instance()->UnInit(); // not initialised: releases nothing
    DatagramSocket peer;
    ASSERT_TRUE(peer.SendTo(CONTROL, message::Make(1, {1, 17})));
    EXPECT_TRUE(m_log.WaitFor("I open 17 streamer"));
}

TEST_F(AudioNetStart, TheSendThreadStartsBeforeTheReceiveThread) {
    EXPECT_EQ(FailToStart(1), NO_THREAD);
    EXPECT_TRUE(WaitForThreadNamed("NetSend"));
    EXPECT_FALSE(WaitForThreadNamed("NetRecv", 50));
}

TEST_F(AudioNetStart, ExitUnderItsThreadsAborts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            if (AudioNet::instance()->Init())
                std::exit(15);
        },
        KilledBySignal(SIGABRT), "terminate called without an active exception");
}

// The control endpoint's thread goes on logging while the singletons are destroyed.
TEST_F(AudioNetStart, ExitAfterAFailedStartIsClean) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto exitUnderControlTraffic = [this] {
        FailToStart(0);
        std::thread([] {
            DatagramSocket peer;
            while (true)
                peer.SendTo(CONTROL, message::Make(2, {1}));
        }).detach();
        m_log.WaitFor("I pMsgDebug->u8Cmd = 1");
        std::exit(3);
    };
    EXPECT_EXIT(exitUnderControlTraffic(), testing::ExitedWithCode(3), "");
}

} // namespace

// Start and end of the PCM bridge, as far as no thread stays behind: failed starts, and
// threads that could not allocate their buffers. The process ends in the ordinary way, so
// that the leak check sees everything.
#include <atomic>
#include <cerrno>
#include <new>

#include <gmock/gmock.h>
#include <time.h>

#include "PcmBridge.h"

namespace {

std::atomic<bool> refusePeriodBuffers = false;
std::atomic<int> periodBuffersGranted = 0;

} // namespace

// Refuses the buffers of the PCM threads on request.
void *operator new[](std::size_t size, const std::nothrow_t &) noexcept {
    if (size == CARD_PERIOD_BYTES && refusePeriodBuffers && periodBuffersGranted-- <= 0)
        return nullptr;
    return ::operator new[](size);
}

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::MatchesRegex;
using testing::Not;
using testing::UnorderedElementsAre;

namespace {

class AudioPcmInit : public PcmBridge {
  protected:
    // A full run of both threads that get `buffers` of the four buffers they ask for.
    void RunWithoutMemory(int buffers) {
        refusePeriodBuffers = true;
        periodBuffersGranted = buffers;
        ASSERT_EQ(AudioPcm::instance()->Init(), 1);
        log.Clear();
        AudioPcm::instance()->UnInit();
    }
};

TEST_F(AudioPcmInit, ConstructionAndEndAreLogged) {
    AudioPcm::instance();
    EXPECT_THAT(log.Texts(), ElementsAre("I #### AudioPcm ####"));
}

TEST_F(AudioPcmInit, WithoutStreamBuffersFails) {
    EXPECT_EQ(AudioPcm::instance()->Init(), 0);
    EXPECT_THAT(log.TextsOf("AudioPcm.cpp"), ElementsAre("I #### AudioPcm ####", "E GetBufferOpsHdl error"));
    EXPECT_FALSE(WaitForThreadNamed("PcmWrite", 0));
}

TEST_F(AudioPcmInit, WithoutACardFailsAndStartsNoThread) {
    config.presence = CardPresence::Missing;
    UseCard();
    EXPECT_EQ(AudioPcm::instance()->Init(), 0);
    EXPECT_THAT(log.TextsOf("AudioPcm.cpp"),
                ElementsAre("I #### AudioPcm ####", MatchesRegex("D m_BufferHdlMap\\[0\\]=0x[0-9a-f]+"),
                            MatchesRegex("D m_BufferHdlMap\\[1\\]=0x[0-9a-f]+"),
                            MatchesRegex("I new AlsaSound hdl=0x[0-9a-f]+"), "E pAlsaSnd  Init failed"));
    EXPECT_FALSE(WaitForThreadNamed("PcmWrite", 0));
    EXPECT_FALSE(WaitForThreadNamed("PcmRead", 0));
}

TEST_F(AudioPcmInit, AsksForTheWriterOfInAndTheReaderOfOut) {
    config.presence = CardPresence::Missing;
    UseCard();
    AudioPcm::instance()->Init();
    EXPECT_THAT(log.TextsOf("ZRBuffer.cpp"),
                ElementsAre("D Get direct:0, mode:1", "W Warning, direct 0 mode 1 BufChanHdl is used",
                            "D Get direct:1, mode:0", "W Warning, direct 1 mode 0 BufChanHdl is used"));
}

TEST_F(AudioPcmInit, AfterAFailureStartsOverWithAnotherDevice) {
    UseCard();
    CardControl other;
    ASSERT_TRUE(other.Open(config.ControlPath()));
    ASSERT_TRUE(other.Claim(CardSide::Playback));
    EXPECT_EQ(AudioPcm::instance()->Init(), 0);
    EXPECT_TRUE(card.Status().Side(CardSide::Capture).open); // left open
    const Texts first = log.TextsOf("AudioPcm.cpp");
    log.Clear();
    EXPECT_EQ(AudioPcm::instance()->Init(), 0);
    const Texts second = log.TextsOf("AudioPcm.cpp");
    ASSERT_EQ(first.size(), 5u);
    ASSERT_EQ(second.size(), 4u);
    EXPECT_EQ(second[0], first[1]);
    EXPECT_THAT(second[2], MatchesRegex("I new AlsaSound hdl=0x[0-9a-f]+"));
    EXPECT_NE(second[2], first[3]);
    EXPECT_EQ(second[3], "E pAlsaSnd  Init failed");
    EXPECT_EQ(log.Texts().end()[-2], "I Couldn't open 'hw:0,0' device: Device or resource busy");
    EXPECT_THAT(log.Texts(), Contains("I card:hw:0,0, AlsaSound Init <<capture>> Success"));
}

TEST_F(AudioPcmInit, UnInitWithoutInitOnlyWarns) {
    AudioPcm::instance()->UnInit();
    EXPECT_THAT(log.Texts(), ElementsAre("I #### AudioPcm ####", "W module not init !!!!"));
}

TEST_F(AudioPcmInit, ThreadsWithoutTheirFirstBufferEndAtOnceAndUnInitReturns) {
    UseCard();
    RunWithoutMemory(0);
    EXPECT_FALSE(card.Status().Side(CardSide::Capture).open);
    EXPECT_EQ(log.Texts().back(), "D card:hw:0,0,AlsaSound::Run exit");
    log.Clear();
    AudioPcm::instance()->UnInit();
    EXPECT_THAT(log.Texts(), ElementsAre("W module not init !!!!"));
}

TEST_F(AudioPcmInit, EachThreadNamesTheBufferItLacksAndItsEnd) {
    UseCard();
    refusePeriodBuffers = true;
    periodBuffersGranted = 0;
    std::thread([] { AudioPcm::instance()->AudioPcmWrThread(); }).join();
    EXPECT_THAT(log.TextsOf("AudioPcmWrite.cpp"), ElementsAre("I Exit PcmWr Thread"));
    EXPECT_THAT(log.Texts(), Contains("E malloc u8MsgPag failed"));
    log.Clear();
    periodBuffersGranted = 1;
    std::thread([] { AudioPcm::instance()->AudioPcmRdThread(); }).join();
    EXPECT_THAT(log.Texts(), ElementsAre("E malloc u8Buffer failed", "I Exit PcmRd Thread"));
}

TEST_F(AudioPcmInit, CanStartAgainAfterUnInit) {
    UseCard();
    RunWithoutMemory(0);
    RunWithoutMemory(0);
    EXPECT_EQ(log.Texts().back(), "D card:hw:0,0,AlsaSound::Run exit");
}

TEST_F(AudioPcmInit, ADeviceWithoutBuffersFailsEveryTransfer) {
    UseCard();
    AlsaSound device("hw:0,0", 16000, 24, 2000, SND_PCM_FORMAT_S32_LE);
    AudioPcmProbe::SetHandles(CZRBuffer::instance()->GetBufferOpsHdl(DIRECT_IN, CZRBuffer::WR_ONLY),
                              CZRBuffer::instance()->GetBufferOpsHdl(DIRECT_OUT, CZRBuffer::RD_ONLY));
    AudioPcmProbe::SetDevice(&device);
    log.Clear();
    Give(0);
    std::thread writer([] { AudioPcm::instance()->AudioPcmWrThread(); });
    ASSERT_TRUE(WaitUntil([] { return AudioPcmProbe::CardWriteErrors() == 1; }));
    AudioPcmProbe::SetDevice(nullptr);
    writer.join();
    EXPECT_THAT(log.Texts(),
                ElementsAre("E ERROR!m_periodBuf is NULL.", "E Before write failed ret=-1",
                            "E ERROR!m_periodBuf is NULL.", "E Send IpcMsg failed!!! ret=-1", "I Exit PcmWr Thread"));
    EXPECT_EQ(AudioPcmProbe::CardWrites(), 0u);
}

TEST_F(AudioPcmInit, AWriteThatTheChannelRefusesIsLogged) {
    UseCard();
    AlsaSound device("hw:0,0", 16000, 24, 2000, SND_PCM_FORMAT_S32_LE);
    AudioPcmProbe::SetHandles(nullptr, nullptr);
    AudioPcmProbe::SetDevice(&device);
    log.Clear();
    std::thread reader([] { AudioPcm::instance()->AudioPcmRdThread(); });
    ASSERT_TRUE(WaitUntil([] { return AudioPcmProbe::CardReadErrors() >= 1; }));
    AudioPcmProbe::SetDevice(nullptr);
    reader.join();
    EXPECT_THAT(log.TextsOf("AudioPcmRead.cpp"),
                IsSupersetOf({"E alsa read failed", "E write error,ret=-2", "I Exit PcmRd Thread"}));
    EXPECT_EQ(AudioPcmProbe::FramesGiven(), 0u);
}

TEST_F(AudioPcmInit, TheClockIsTheMonotonicOneCutTo32Bits) {
    timespec before{}, after{};
    clock_gettime(CLOCK_MONOTONIC, &before);
    const uint32_t now = AudioPcm::instance()->_NowTimeUs();
    clock_gettime(CLOCK_MONOTONIC, &after);
    const auto micros = [](const timespec &time) { return time.tv_sec * 1000000L + time.tv_nsec / 1000; };
    EXPECT_LE(now - static_cast<uint32_t>(micros(before)), micros(after) - micros(before));
}

} // namespace

// The report and the print switch.
#include <gmock/gmock.h>

#include "PcmBridge.h"

using testing::ElementsAre;

namespace {

class AudioPcmDiag : public PcmBridge {};

TEST_F(AudioPcmDiag, TheReportRightAfterTheStartIsAllZero) {
    AudioPcm::instance();
    log.Clear();
    AudioPcm::instance()->PrintNodeInfo();
    EXPECT_THAT(log.Texts(), ElementsAre("D [Pcm]ReadThread WrBuffer:0 RdSuc:0 RdErr:0, ProRdFail:0",
                                         "D [Pcm]Read Cnt1:0 Cnt2:0 Time:0us 0us Max:0us 0us",
                                         "D [Pcm]WriteThread RdBuffer:0 WrSuc:0 WrErr:0, WrDrop:0",
                                         "D [Pcm]Write Cnt1:0 Cnt2:0, Cnt3:0 Time:0us 0us Max:0us",
                                         "D Pcm Print switch:0, PcmDiff:0"));
}

TEST_F(AudioPcmDiag, EveryCounterHasItsPlaceInTheReport) {
    AudioPcmProbe::NumberCounters(101);
    AudioPcmProbe::SwitchDump(true);
    log.Clear();
    AudioPcm::instance()->PrintNodeInfo();
    EXPECT_THAT(log.Texts(), ElementsAre("D [Pcm]ReadThread WrBuffer:101 RdSuc:102 RdErr:103, ProRdFail:104",
                                         "D [Pcm]Read Cnt1:105 Cnt2:106 Time:107us 108us Max:109us 110us",
                                         "D [Pcm]WriteThread RdBuffer:111 WrSuc:112 WrErr:113, WrDrop:114",
                                         "D [Pcm]Write Cnt1:115 Cnt2:116, Cnt3:117 Time:118us 119us Max:120us",
                                         "D Pcm Print switch:1, PcmDiff:-124")); // 102 - 112 - 114
}

TEST_F(AudioPcmDiag, TheReportShowsARunningBridge) {
    Start();
    for (int period = 0; period < 9; ++period)
        TakeNext();
    FillPlayback();
    ASSERT_TRUE(WaitUntil([] { return AudioPcmProbe::FramesGiven() == 9 && AudioPcmProbe::CardWrites() == 5; }));
    AudioPcm::instance()->PrintNodeInfo();
    const Texts texts = log.Texts();
    ASSERT_EQ(texts.size(), 5u);
    EXPECT_EQ(texts[0], "D [Pcm]ReadThread WrBuffer:9 RdSuc:9 RdErr:0, ProRdFail:0");
    EXPECT_EQ(texts[2], "D [Pcm]WriteThread RdBuffer:5 WrSuc:5 WrErr:0, WrDrop:0");
    EXPECT_EQ(texts[4], "D Pcm Print switch:0, PcmDiff:4");
}

TEST_F(AudioPcmDiag, ThePrintSwitchSetsTheDump) {
    AudioPcm::instance();
    log.Clear();
    AudioPcm::instance()->PrintSwitch(true);
    EXPECT_TRUE(AudioPcmProbe::DumpIsOn());
    AudioPcm::instance()->PrintSwitch(false);
    EXPECT_FALSE(AudioPcmProbe::DumpIsOn());
    EXPECT_THAT(log.Texts(), ElementsAre("D Set Pcm Print switch:1", "D Set Pcm Print switch:0"));
}

} // namespace

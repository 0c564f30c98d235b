// Period reads and writes of a card without faults, and the diagnostics of the ALSA ring.
#include <cstring>

#include <gmock/gmock.h>

#include "AlsaFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

class AlsaTransfer : public AlsaTest {};

// The bytes of a run of periods of the signal.
std::vector<uint8_t> SignalBytes(uint64_t periods) {
    std::vector<uint8_t> all(periods * PERIOD_BYTES);
    for (uint64_t number = 0; number < periods; ++number)
        std::memcpy(all.data() + number * PERIOD_BYTES, SignalPeriod(number).data(), PERIOD_BYTES);
    return all;
}

TEST_F(AlsaTransfer, ReadsPeriodAfterPeriod) {
    Open();
    StartCapture();
    EXPECT_EQ(period, SignalPeriod(0));
    for (uint64_t number = 1; number < 20; ++number) {
        ASSERT_EQ(ReadNext(), PERIOD_BYTES);
        ASSERT_EQ(period, SignalPeriod(number));
    }
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(AlsaTransfer, ReadsOnePeriodIntoALargerBuffer) {
    Open();
    StartCapture();
    std::vector<uint8_t> buffer(PERIOD_BYTES + 100, 0x5A);
    card.Advance(1);
    EXPECT_EQ(sound->SoundRead(buffer.data(), static_cast<int32_t>(buffer.size())), PERIOD_BYTES);
    EXPECT_EQ(std::memcmp(buffer.data(), SignalPeriod(1).data(), PERIOD_BYTES), 0);
    EXPECT_EQ(std::vector<uint8_t>(buffer.end() - 100, buffer.end()), std::vector<uint8_t>(100, 0x5A));
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(AlsaTransfer, AShortBufferLosesTheRestOfThePeriod) {
    Open();
    StartCapture();
    period.fill(0x5A5A5A5A);
    card.Advance(1);
    EXPECT_EQ(sound->SoundRead(bytes, 1024), 1024);
    EXPECT_THAT(log.Texts(), ElementsAre("E SoundRead error!lost data.chunk_bytes:3072, Buffer len:1024"));
    EXPECT_EQ(std::memcmp(bytes, SignalPeriod(1).data(), 1024), 0);
    EXPECT_EQ(period[256], 0x5A5A5A5Au);
    EXPECT_EQ(ReadNext(), PERIOD_BYTES);
    EXPECT_EQ(period, SignalPeriod(2));
}

TEST_F(AlsaTransfer, ANegativeLengthCopiesNothing) {
    Open();
    StartCapture();
    period.fill(0x5A5A5A5A);
    card.Advance(1);
    EXPECT_EQ(sound->SoundRead(bytes, -7), -7);
    EXPECT_THAT(log.Texts(), ElementsAre("E SoundRead error!lost data.chunk_bytes:3072, Buffer len:-7"));
    EXPECT_EQ(period[0], 0x5A5A5A5Au);
}

TEST_F(AlsaTransfer, PlaybackStartsWhenTheBufferIsFull) {
    Open();
    for (uint64_t number = 0; number < 6; ++number) {
        ASSERT_FALSE(card.Status().Side(CardSide::Playback).running);
        period = SignalPeriod(number);
        ASSERT_EQ(sound->SoundWrite(bytes, PERIOD_BYTES), PERIOD_BYTES);
    }
    EXPECT_TRUE(card.Status().Side(CardSide::Playback).running);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(AlsaTransfer, WritesPeriodAfterPeriod) {
    Open();
    StartPlayback();
    std::vector<Period> expected;
    for (uint64_t number = 0; number < 20; ++number)
        expected.push_back(SignalPeriod(number));
    for (uint64_t number = 6; number < 20; ++number) {
        card.Advance(1);
        period = SignalPeriod(number);
        ASSERT_EQ(sound->SoundWrite(bytes, PERIOD_BYTES), PERIOD_BYTES);
    }
    EXPECT_EQ(Played(), expected);
}

TEST_F(AlsaTransfer, TheLastPieceOfALongWriteComesFromTheStartOfTheSource) {
    Open();
    std::vector<uint8_t> source = SignalBytes(3);
    const int32_t length = 5 * PERIOD_BYTES / 2;
    EXPECT_EQ(sound->SoundWrite(source.data(), length), length);
    period.fill(0xFFFFFFFF);
    EXPECT_EQ(sound->SoundWrite(bytes, PERIOD_BYTES / 2), PERIOD_BYTES / 2);
    FillWithSilence();
    const auto played = Played();
    ASSERT_EQ(played.size(), 6u);
    EXPECT_EQ(played[0], SignalPeriod(0));
    EXPECT_EQ(played[1], SignalPeriod(1));
    EXPECT_EQ(std::memcmp(played[2].data(), SignalPeriod(0).data(), PERIOD_BYTES / 2), 0);
    EXPECT_EQ(played[2][384], 0xFFFFFFFFu);
    EXPECT_EQ(played[3], Period{});
}

TEST_F(AlsaTransfer, SoDoesALastPieceOfAWholePeriod) {
    Open();
    std::vector<uint8_t> source = SignalBytes(3);
    EXPECT_EQ(sound->SoundWrite(source.data(), 3 * PERIOD_BYTES), 3 * PERIOD_BYTES);
    FillWithSilence();
    EXPECT_THAT(Played(), ElementsAre(SignalPeriod(0), SignalPeriod(1), SignalPeriod(0), Period{}, Period{}, Period{}));
}

TEST_F(AlsaTransfer, NothingIsWrittenForALengthOfZeroOrLess) {
    Open();
    EXPECT_EQ(sound->SoundWrite(bytes, 0), 0);
    EXPECT_EQ(sound->SoundWrite(bytes, -4), -4);
    FillWithSilence();
    EXPECT_EQ(Played().size(), 6u);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(AlsaTransfer, FramesAreReadAndWrittenInTheNumberAskedFor) {
    Open();
    StartCapture();
    card.Advance(1);
    EXPECT_EQ(sound->_PcmRead(reinterpret_cast<char *>(bytes), 10), 10);
    EXPECT_EQ(std::memcmp(bytes, SignalPeriod(1).data(), 10 * 96), 0);
    EXPECT_EQ(sound->_PcmRead(reinterpret_cast<char *>(bytes), 0), 0);
    EXPECT_EQ(sound->_PcmWrite(bytes, 20), 20);
    EXPECT_EQ(sound->_PcmWrite(bytes, 0), 0);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(AlsaTransfer, WithoutInitEachCallIsRefusedWithItsOwnLine) {
    Make();
    EXPECT_EQ(sound->SoundRead(bytes, PERIOD_BYTES), -1);
    EXPECT_EQ(sound->SoundWrite(bytes, PERIOD_BYTES), -1);
    EXPECT_EQ(sound->_PcmRead(reinterpret_cast<char *>(bytes), 32), 0);
    EXPECT_EQ(sound->_PcmWrite(bytes, 32), 0);
    EXPECT_THAT(log.Texts(),
                ElementsAre("E ERROR!m_periodBuf is NULL", "E ERROR!m_periodBuf is NULL.",
                            "E ptr is nullptr! m_capHandle:(nil)", "E ptr is nullptr! m_playHandle:(nil)"));
}

TEST_F(AlsaTransfer, ANullBufferIsRefusedWithTheHandle) {
    Open();
    EXPECT_EQ(sound->_PcmRead(nullptr, 32), 0);
    EXPECT_EQ(sound->_PcmWrite(nullptr, 32), 0);
    EXPECT_THAT(log.Texts(), ElementsAre(MatchesRegex("E ptr is nullptr! m_capHandle:0x[0-9a-f]+"),
                                         MatchesRegex("E ptr is nullptr! m_playHandle:0x[0-9a-f]+")));
}

TEST_F(AlsaTransfer, AClosedHandleIsNotTouched) {
    Open();
    sound->CleanUp();
    log.Clear();
    EXPECT_EQ(sound->_PcmRead(reinterpret_cast<char *>(bytes), 32), 0);
    EXPECT_EQ(sound->_PcmWrite(bytes, 32), 0);
    EXPECT_EQ(sound->GetBuffer(), 1);
    EXPECT_EQ(sound->ClearBuffer(), 1);
    const Texts texts = log.Texts();
    ASSERT_EQ(texts.size(), 4u);
    EXPECT_THAT(texts[0], MatchesRegex("E ptr is nullptr! m_capHandle:0x[0-9a-f]+")); // the value stays
    EXPECT_EQ(texts[2], "D current alsa frame samples (cap:0, ply:0)");
    EXPECT_EQ(texts[3], "D clear 0 alsa buffer");
}

TEST_F(AlsaTransfer, GetBufferLogsBothSidesOfTheRing) {
    Open();
    StartCapture();
    card.Advance(3);
    sound->SoundWrite(bytes, PERIOD_BYTES);
    EXPECT_EQ(sound->GetBuffer(), 1);
    EXPECT_THAT(log.Texts(), ElementsAre("D current alsa frame samples (cap:96, ply:160)"));
}

TEST_F(AlsaTransfer, GetBufferWithoutHandlesLogsZeros) {
    EXPECT_EQ(Make().GetBuffer(), 1);
    EXPECT_THAT(log.Texts(), ElementsAre("D current alsa frame samples (cap:0, ply:0)"));
}

TEST_F(AlsaTransfer, ClearBufferDiscardsCapturedFramesAndLeavesPlayback) {
    Open();
    StartCapture();
    card.Advance(3);
    sound->SoundWrite(bytes, PERIOD_BYTES);
    EXPECT_EQ(sound->ClearBuffer(), 1);
    EXPECT_THAT(log.Texts(), ElementsAre("D clear alsa frame:96", "D clear 96 alsa buffer"));
    log.Clear();
    sound->GetBuffer();
    EXPECT_THAT(log.Texts(), ElementsAre("D current alsa frame samples (cap:0, ply:160)"));
    auto read = Begin([&] { return sound->SoundRead(bytes, PERIOD_BYTES); });
    ASSERT_TRUE(WaitForCaptureStarts(2));
    card.Advance(1);
    EXPECT_EQ(read.get(), PERIOD_BYTES);
    EXPECT_EQ(period, SignalPeriod(4));
}

TEST_F(AlsaTransfer, ClearBufferWithoutACaptureHandleLogsOnlyTheTotal) {
    EXPECT_EQ(Make().ClearBuffer(), 1);
    EXPECT_THAT(log.Texts(), ElementsAre("D clear 0 alsa buffer"));
}

} // namespace

// Wrong tags, for a number of periods or until they are reset.
#include "CardFixture.h"

class Tags : public CardTest {
  protected:
    void SetUp() override {
        UseManualClock();
        m_pcm = StartCapture();
    }

    // The next period and what it would be with right tags.
    void Next() {
        m_right = SignalPeriod(card.TapCount(CardSide::Capture));
        card.Advance(1);
        ASSERT_EQ(m_pcm->Read(m_period), 32);
    }

    std::unique_ptr<Pcm> m_pcm;
    Period m_period{};
    Period m_right{};
};

TEST_F(Tags, ZeroInOneWord) {
    card.SetTags(CardTags::Zero, 1);
    Next();
    m_right[0] &= 0xFFFFu;
    EXPECT_EQ(m_period, m_right);
    Next();
    EXPECT_EQ(m_period, m_right);
}

TEST_F(Tags, TwentyFiveInAChosenWordForAsManyPeriodsAsAsked) {
    card.SetTags(CardTags::TwentyFive, 2, 767);
    for (int i = 0; i < 2; i++) {
        Next();
        m_right[767] = (25u << 16) | (m_right[767] & 0xFFFFu);
        EXPECT_EQ(m_period, m_right);
    }
    EXPECT_EQ(card.Status().tags, CardTags::Normal);
    Next();
    EXPECT_EQ(m_period, m_right);
}

TEST_F(Tags, RepeatedCarriesOneChannelInAllWords) {
    card.SetTags(CardTags::Repeated, 0, 7);
    for (int i = 0; i < 3; i++) {
        Next();
        for (uint32_t &word : m_right)
            word = (7u << 16) | (word & 0xFFFFu);
        EXPECT_EQ(m_period, m_right);
    }
    card.SetTags(CardTags::Repeated, 0);
    Next();
    for (const uint32_t word : m_period)
        ASSERT_EQ(word >> 16, 24u);
}

TEST_F(Tags, RotatedMovesSamplesWithTheirTags) {
    card.SetTags(CardTags::Rotated, 0, 5);
    Next();
    for (uint32_t frame = 0; frame < 32; frame++)
        for (uint32_t place = 0; place < 24; place++)
            ASSERT_EQ(m_period[frame * 24 + place], m_right[frame * 24 + (place + 5) % 24]);
    card.SetTags(CardTags::Normal);
    Next();
    EXPECT_EQ(m_period, m_right);
}

TEST_F(Tags, TheTapShowsWhatWasHandedOver) {
    card.SetTags(CardTags::Rotated, 1);
    Next();
    EXPECT_EQ(WholeTap(card, CardSide::Capture)[0].words, m_period);
    EXPECT_NE(m_period, m_right);
}

TEST_F(Tags, ValuesAreKeptInRange) {
    card.SetTags(CardTags::Zero, 1, 5000);
    Next();
    EXPECT_EQ(m_period[767] >> 16, 0u);
    card.SetTags(CardTags::Repeated, 1, 99);
    Next();
    EXPECT_EQ(m_period[0] >> 16, 24u);
}

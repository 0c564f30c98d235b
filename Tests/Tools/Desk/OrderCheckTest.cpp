// Numbered periods: in order, late, repeated.
#include <gtest/gtest.h>

#include "Desk/OrderCheck.h"

using Place = OrderCheck::Place;

TEST(OrderCheck, TakesConsecutiveNumbersInOrder) {
    OrderCheck order(100);
    for (uint64_t number = 100; number < 20000; ++number)
        ASSERT_EQ(order.Take(number), Place::InOrder) << number;
    EXPECT_EQ(order.Next(), 20000u);
}

TEST(OrderCheck, TellsALateNumberFromARepeatedOne) {
    OrderCheck order(0);
    EXPECT_EQ(order.Take(0), Place::InOrder);
    EXPECT_EQ(order.Take(3), Place::InOrder);
    EXPECT_EQ(order.Take(3), Place::Repeated);
    EXPECT_EQ(order.Take(1), Place::Late);
    EXPECT_EQ(order.Take(1), Place::Repeated);
    EXPECT_EQ(order.Take(0), Place::Repeated);
    EXPECT_EQ(order.Take(2), Place::Late);
    EXPECT_EQ(order.Take(4), Place::InOrder);
}

TEST(OrderCheck, TakesWhatCameBeforeTheFirstForRepeated) {
    OrderCheck order(50);
    EXPECT_EQ(order.Take(49), Place::Repeated);
    EXPECT_EQ(order.Take(50), Place::InOrder);
}

TEST(OrderCheck, ForgetsOldNumbersWhenTheirPlacesComeRoundAgain) {
    OrderCheck order(0);
    for (uint64_t number = 0; number < 4096; ++number)
        order.Take(number);
    EXPECT_EQ(order.Take(4098), Place::InOrder);
    EXPECT_EQ(order.Take(4096), Place::Late);
    EXPECT_EQ(order.Take(4097), Place::Late);
    EXPECT_EQ(order.Take(1), Place::Repeated); // too old to tell
}

TEST(OrderCheck, StartsAfreshBehindAVeryLongGap) {
    OrderCheck order(0);
    for (uint64_t number = 0; number < 10; ++number)
        order.Take(number);
    EXPECT_EQ(order.Take(100000), Place::InOrder);
    EXPECT_EQ(order.Take(100000 - 4000), Place::Late);
    EXPECT_EQ(order.Take(100000 - 4000), Place::Repeated);
}

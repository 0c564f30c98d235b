// UUIDs of the system.
#include <gtest/gtest.h>

#include <cstring>
#include <regex>
#include <string>
#include <vector>

#include "BSW/BasicFun/Function.h"
#include "Support/LogCapture.h"

TEST(Uuid, IsAnotherOneEachTime) {
    char first[UUID_TEXT_SIZE];
    char second[100];
    ASSERT_EQ(GetUUID(first, sizeof first), 0);
    ASSERT_EQ(GetUUID(second, sizeof second), 0);
    const std::regex form("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    EXPECT_TRUE(std::regex_match(first, form)) << first;
    EXPECT_TRUE(std::regex_match(second, form)) << second;
    EXPECT_STRNE(first, second);
}

TEST(Uuid, ABufferThatIsTooSmallStaysAsItIs) {
    const LogCapture log;
    char text[UUID_TEXT_SIZE] = "untouched";
    for (const int size : {UUID_TEXT_SIZE - 1, 0, -1})
        EXPECT_EQ(GetUUID(text, size), -1);
    EXPECT_EQ(GetUUID(nullptr, UUID_TEXT_SIZE), -1);
    EXPECT_STREQ(text, "untouched");
    EXPECT_EQ(log.TextsOf("Function.cpp"),
              (std::vector<std::string>{"E GetUUID: bad parameter, size = 36", "E GetUUID: bad parameter, size = 0",
                                        "E GetUUID: bad parameter, size = -1", "E GetUUID: bad parameter, size = 37"}));
}

// Many threads on the log at once: whole lines, in the order of each thread.
#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <map>
#include <thread>
#include <vector>

#include <pthread.h>

#include "FdCapture.h"
#include "LogFixture.h"
#include "Support/LogCapture.h"
#include "Support/WaitUntil.h"

namespace {

constexpr int THREADS = 8;
constexpr int LINES = 200;

// Runs `body` with the numbers 0 to THREADS - 1, all at the same time.
void OnManyThreads(const std::function<void(int)> &body) {
    std::barrier together(THREADS);
    std::vector<std::thread> threads;
    for (int number = 0; number < THREADS; ++number)
        threads.emplace_back([&, number] {
            together.arrive_and_wait();
            body(number);
        });
    for (std::thread &thread : threads)
        thread.join();
}

// Text of line `line` of thread `number`: its length and letter tell lines apart.
std::string TextOf(int number, int line) {
    return std::to_string(number) + " " + std::to_string(line) + " " +
           std::string(static_cast<std::size_t>(line % 50 * 40), static_cast<char>('a' + number));
}

// Expects exactly the lines of all threads, each whole, those of one thread in order.
void ExpectWholeLines(const std::vector<std::string> &texts) {
    EXPECT_EQ(texts.size(), static_cast<std::size_t>(THREADS * LINES));
    std::map<int, int> next;
    for (const std::string &text : texts) {
        const int number = std::atoi(text.c_str());
        ASSERT_EQ(text, TextOf(number, next[number]));
        ++next[number];
    }
}

std::vector<std::string> TextsIn(const std::string &file) {
    std::vector<std::string> texts;
    for (const LogLine &line : ParseLog(ReadWholeFile("log/" + file)))
        texts.push_back(line.text);
    return texts;
}

} // namespace

using LogThreads = LogTest;

TEST_F(LogThreads, NeverMixLinesInAFile) {
    Open();
    OnManyThreads([&](int number) {
        for (int line = 0; line < LINES; ++line) {
            const std::string text = TextOf(number, line);
            LOG_INF("%s", text.c_str());
            m_log->Access("%s", text.c_str());
            m_log->Alarm("%s", text.c_str());
            m_log->Module(MODULE_LOG_5, "%s", text.c_str());
        }
    });
    for (const char *file : {"system.log", "access.log", "alarm.log", "Module5.log"})
        ExpectWholeLines(TextsIn(file));
}

TEST_F(LogThreads, NeverMixLinesOnTheConsole) {
    Open(true);
    FdCapture console(STDOUT_FILENO);
    OnManyThreads([&](int number) {
        for (int line = 0; line < LINES; ++line)
            m_log->Debug(LOG_LEVEL_WRN, "%s", TextOf(number, line).c_str());
    });
    std::vector<std::string> texts;
    for (LogLine &line : ParseLog(console.Text())) {
        ASSERT_TRUE(line.text.ends_with('\0'));
        line.text.pop_back();
        texts.push_back(line.text);
    }
    ExpectWholeLines(texts);
}

TEST_F(LogThreads, MayTurnTheSwitchesWhileOthersLog) {
    Open();
    OnManyThreads([&](int number) {
        for (int line = 0; line < LINES; ++line) {
            if (number == 0)
                m_log->SetDebugLevel(line % 6);
            else if (number == 1)
                m_log->OpenOrCloseModuleLog(line % 2 == 0);
            else
                LOG_ERR("%d %s", number, "%d %n");
        }
    });
    for (const LogLine &line : ParseLog(Raw("system.log")))
        EXPECT_TRUE(std::regex_match(line.text, std::regex("[2-7] 0 "))) << line.text;
}

TEST_F(LogThreads, MayGoOnWhileTheLogIsClosedAndOpened) {
    Open(true);
    FdCapture console(STDOUT_FILENO);
    std::atomic<bool> stop = false;
    std::atomic<int> rounds = 0;
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&] {
            for (; !stop; ++rounds)
                LOG_ERR("round %d", 7);
        });
    for (int cycle = 0; cycle < 20; ++cycle) {
        const int before = rounds;
        EXPECT_TRUE(WaitUntil([&] { return rounds > before + 8; }, 20000));
        m_log->CleanUp();
        const int closed = rounds;
        EXPECT_TRUE(WaitUntil([&] { return rounds > closed + 8; }, 20000));
        Open(true);
    }
    stop = true;
    for (std::thread &thread : threads)
        thread.join();
    const auto lines = ParseLog(Raw("system.log"));
    EXPECT_GT(lines.size(), 20u);
    for (const LogLine &line : lines)
        ASSERT_EQ(line.text, "round 7");
}

// A thread needs about 80 KB of stack for a line, however hard the line is.
TEST_F(LogThreads, NeedNoMoreStackThanStated) {
    Open();
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, (80 + 64) * 1024), 0);
    pthread_t thread;
    ASSERT_EQ(pthread_create(
                  &thread, &attributes,
                  [](void *) -> void * {
                      LOG_INF("%s", std::string(81000, '%').c_str());
                      LOG_INF("%s", std::string(81000, 'x').c_str());
                      return nullptr;
                  },
                  nullptr),
              0);
    EXPECT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
    EXPECT_EQ(ParseLog(Raw("system.log")).size(), 2u);
}

// The worker of the log ends as soon as it starts.
TEST_F(LogThreads, OfTheLogAreGoneAfterCleanUp) {
    Open();
    m_log->CleanUp();
    const int before = ThreadCount(); // a sanitizer starts a thread of its own with the first
    Open();
    m_log->CleanUp();
    EXPECT_TRUE(WaitUntil([&] { return ThreadCount() <= before; }));
    EXPECT_TRUE(m_log->IsThreadOver());
    EXPECT_STREQ(m_log->GetThreadName(), "CZRLog");
}

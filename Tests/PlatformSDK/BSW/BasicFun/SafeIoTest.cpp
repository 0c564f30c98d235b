// Reading and writing that signals interrupt, and that stop half-way.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include "BSW/BasicFun/FileUtils.h"
#include "FileSupport.h"
#include "Support/LogCapture.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Bytes = std::vector<unsigned char>;

class SafeIo : public MountingTest {
  protected:
    void SetUp() override { ASSERT_EQ(pipe2(m_pipe, O_CLOEXEC), 0); }

    void TearDown() override {
        for (const int end : m_pipe)
            if (end >= 0)
                close(end);
        MountingTest::TearDown();
    }

    int ReadEnd() const { return m_pipe[0]; }
    int WriteEnd() const { return m_pipe[1]; }

    void SetBlocking(bool blocking) {
        for (const int end : m_pipe)
            fcntl(end, F_SETFL, blocking ? 0 : O_NONBLOCK);
    }

    // Writes until nothing more goes in; the bytes written.
    long Fill() {
        const Bytes block(4096, 'f');
        long total = 0;
        SetBlocking(false);
        for (ssize_t count = 0; (count = write(WriteEnd(), block.data(), block.size())) > 0;)
            total += count;
        SetBlocking(true);
        return total;
    }

    // Reads `count` bytes.
    Bytes Drain(std::size_t count) const {
        Bytes bytes(count);
        std::size_t length = 0;
        while (length < count) {
            const ssize_t res = read(ReadEnd(), bytes.data() + length, std::min<std::size_t>(count - length, 5000));
            if (res <= 0)
                break;
            length += static_cast<std::size_t>(res);
        }
        bytes.resize(length);
        return bytes;
    }

    // Bytes that do not repeat at the sizes of pages and pipes.
    static Bytes Pattern(std::size_t size) {
        Bytes bytes(size);
        for (std::size_t i = 0; i < size; ++i)
            bytes[i] = static_cast<unsigned char>(i * 2654435761U >> 13);
        return bytes;
    }

    int m_pipe[2] = {-1, -1};
    const std::string m_bad = "E bad parameters!";
};

} // namespace

TEST_F(SafeIo, ReadsAndWritesOnce) {
    const Bytes bytes = Pattern(100);
    Bytes buffer(200);
    EXPECT_EQ(SafeWrite(WriteEnd(), bytes.data(), 100), 100);
    EXPECT_EQ(SafeRead(ReadEnd(), buffer.data(), 200), 100);
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), buffer.begin()));
    EXPECT_EQ(SafeWrite(WriteEnd(), bytes.data(), 0), 0);
    EXPECT_EQ(FullWrite(WriteEnd(), bytes.data(), 0), 0);
    close(m_pipe[1]);
    m_pipe[1] = -1;
    EXPECT_EQ(SafeRead(ReadEnd(), buffer.data(), 200), 0);
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(SafeIo, ASignalDoesNotEndARead) {
    const Bytes bytes = Pattern(10);
    Bytes buffer(10);
    std::thread writer([&] {
        EXPECT_TRUE(Interruptions::WaitForMore(3));
        EXPECT_EQ(write(WriteEnd(), bytes.data(), 10), 10);
    });
    {
        Interruptions signals;
        EXPECT_EQ(SafeRead(ReadEnd(), buffer.data(), 10), 10);
        writer.join();
    }
    EXPECT_EQ(buffer, bytes);
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(SafeIo, ASignalDoesNotEndAWrite) {
    const auto before = static_cast<std::size_t>(Fill());
    const Bytes bytes = Pattern(10);
    Bytes last;
    std::thread reader([&] {
        EXPECT_TRUE(Interruptions::WaitForMore(3));
        Drain(before);
        last = Drain(10);
    });
    {
        Interruptions signals;
        EXPECT_EQ(SafeWrite(WriteEnd(), bytes.data(), 10), 10);
        reader.join();
    }
    EXPECT_EQ(last, bytes);
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

// The pipe takes what it has room for; each signal then ends that write with fewer bytes.
TEST_F(SafeIo, AFullWriteGoesOnBehindPartialOnes) {
    const Bytes bytes = Pattern(1000003);
    Bytes received;
    std::thread reader([&] {
        for (int i = 0; i < 3; ++i) {
            EXPECT_TRUE(Interruptions::WaitForMore(2));
            const Bytes part = Drain(30000);
            received.insert(received.end(), part.begin(), part.end());
        }
        const Bytes rest = Drain(bytes.size() - received.size());
        received.insert(received.end(), rest.begin(), rest.end());
    });
    {
        Interruptions signals;
        EXPECT_EQ(FullWrite(WriteEnd(), bytes.data(), bytes.size()), 1000003);
        close(m_pipe[1]); // ends the reader in any case
        m_pipe[1] = -1;
        reader.join();
    }
    EXPECT_TRUE(received == bytes);
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(SafeIo, AFullPipeGivesWhatWasWrittenThenTheError) {
    const long capacity = Fill();
    Drain(static_cast<std::size_t>(capacity));
    SetBlocking(false);
    const Bytes bytes = Pattern(static_cast<std::size_t>(capacity) + 1000);
    EXPECT_EQ(FullWrite(WriteEnd(), bytes.data(), bytes.size()), capacity);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(FullWrite(WriteEnd(), bytes.data(), bytes.size()), -1);
    EXPECT_EQ(errno, EAGAIN);
    const std::string failed =
        "E Safe Write error! Resource temporarily unavailable. fd = " + std::to_string(WriteEnd());
    EXPECT_THAT(m_log.Texts(),
                ElementsAre(failed + ", count = 1000", failed + ", count = " + std::to_string(capacity + 1000)));
}

TEST_F(SafeIo, AFullDeviceTakesNothing) {
    const int device = open("/dev/full", O_WRONLY | O_CLOEXEC);
    const Bytes bytes = Pattern(5);
    EXPECT_EQ(FullWrite(device, bytes.data(), 5), -1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(SafeWrite(device, bytes.data(), 5), -1);
    const std::string line =
        "E Safe Write error! No space left on device. fd = " + std::to_string(device) + ", count = 5";
    EXPECT_THAT(m_log.Texts(), ElementsAre(line, line));
    close(device);
}

TEST_F(SafeIo, AFullFileSystemTakesAPart) {
    fs::create_directory("disk");
    if (!m_mounts.MountTmpfs("disk", 65536))
        GTEST_SKIP() << "nothing can be mounted here";
    const int file = ZROpen("disk/file", O_WRONLY | O_CREAT);
    const Bytes bytes = Pattern(70000);
    EXPECT_EQ(FullWrite(file, bytes.data(), bytes.size()), 65536);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(FullWrite(file, bytes.data(), bytes.size()), -1);
    EXPECT_EQ(errno, ENOSPC);
    close(file);
}

TEST_F(SafeIo, AFileSizeLimitLetsAPartThrough) {
    constexpr rlim_t LIMIT = 1 << 20;
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit previous = {};
    getrlimit(RLIMIT_FSIZE, &previous);
    const rlimit small = {LIMIT, previous.rlim_max};
    const int file = ZROpen("file", O_WRONLY | O_CREAT);
    const Bytes bytes = Pattern(LIMIT + 500);
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_EQ(FullWrite(file, bytes.data(), bytes.size()), static_cast<long>(LIMIT));
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(FullWrite(file, bytes.data(), bytes.size()), -1);
    setrlimit(RLIMIT_FSIZE, &previous);
    close(file);
}

TEST_F(SafeIo, FailuresAreReported) {
    unsigned char byte = 0;
    EXPECT_EQ(SafeRead(-1, &byte, 1), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(SafeWrite(-1, &byte, 1), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E Safe Read error! Bad file descriptor. fd = -1, count = 1",
                                           "E Safe Write error! Bad file descriptor. fd = -1, count = 1"));
}

TEST_F(SafeIo, BadBuffersAreRefused) {
    unsigned char byte = 0;
    const auto negative = static_cast<unsigned long>(-5L);
    EXPECT_EQ(SafeRead(ReadEnd(), nullptr, 1), -1);
    EXPECT_EQ(SafeRead(ReadEnd(), &byte, negative), -1);
    EXPECT_EQ(SafeWrite(WriteEnd(), nullptr, 1), -1);
    EXPECT_EQ(SafeWrite(WriteEnd(), &byte, negative), -1);
    EXPECT_EQ(FullWrite(WriteEnd(), nullptr, 0), -1);
    EXPECT_EQ(FullWrite(WriteEnd(), &byte, negative), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(6, m_bad));
}

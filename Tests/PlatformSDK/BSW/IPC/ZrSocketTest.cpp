// The socket functions: kinds, making and closing, refusals and their texts.
#include "BSW/IPC/zr_socket.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Descriptors.h"
#include "LocalSockets.h"
#include "Support/LogCapture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

int Create(std::string path, bool bRecv) {
    return zr_create_local_udpsvr(reinterpret_cast<ZR_S8 *>(path.data()), bRecv);
}

int Option(int handle, int option) {
    int value = -1;
    socklen_t length = sizeof(value);
    getsockopt(handle, SOL_SOCKET, option, &value, &length);
    return value;
}

bool IsSocketFile(const std::string &path) {
    return std::filesystem::is_socket(path);
}

void MakeFile(const std::string &path) {
    std::ofstream(path) << "stale";
}

class ZrSocket : public testing::Test {
  protected:
    LogCapture m_log;
};

} // namespace

TEST_F(ZrSocket, HeaderValues) {
    EXPECT_EQ(EM_TCP_SOCK, 0);
    EXPECT_EQ(EM_UDP_SOCK, 1);
    EXPECT_EQ(EM_TCP_LOCAL_SOCK, 2);
    EXPECT_EQ(EM_UDP_LOCAL_SOCK, 3);
    EXPECT_EQ(EM_SOCK_TYPE_UNKNOWN, 4);
    EXPECT_EQ(EM_SELECT_READ, 1);
    EXPECT_EQ(EM_SELECT_WRITE, 2);
    EXPECT_EQ(EM_SELECT_EXCEPT, 4);
    EXPECT_EQ(EM_SELECT_TYPE_UNKNOWN, 5);
    EXPECT_EQ(EM_SA_INET, 0);
    EXPECT_EQ(EM_SA_INET6, 1);
    EXPECT_EQ(EM_SA_UNIX, 2);
    EXPECT_EQ(offsetof(RAW_ETHHDR_S, u8SrcMac), 6U);
    EXPECT_EQ(offsetof(RAW_ETHHDR_S, u16EthType), 12U);
    EXPECT_EQ(sizeof(RAW_SOCKINFO_S::u8Interface), 32U);
}

TEST_F(ZrSocket, MakesEachKind) {
    struct Kind {
        SOCKET_TYPE_E type;
        int domain, style;
    };
    for (const Kind &kind :
         {Kind{EM_TCP_SOCK, AF_INET, SOCK_STREAM}, Kind{EM_UDP_SOCK, AF_INET, SOCK_DGRAM},
          Kind{EM_TCP_LOCAL_SOCK, AF_UNIX, SOCK_STREAM}, Kind{EM_UDP_LOCAL_SOCK, AF_UNIX, SOCK_DGRAM}}) {
        const int handle = zr_socket(kind.type);
        EXPECT_EQ(Option(handle, SO_DOMAIN), kind.domain);
        EXPECT_EQ(Option(handle, SO_TYPE), kind.style);
        EXPECT_EQ(zr_close(handle), 0);
    }
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(ZrSocket, RefusesAnUnknownKind) {
    EXPECT_EQ(zr_socket(EM_SOCK_TYPE_UNKNOWN), -1);
    EXPECT_EQ(zr_socket(static_cast<SOCKET_TYPE_E>(-1)), -1);
    EXPECT_THAT(m_log.TextsOf("zr_socket.cpp"), ElementsAre("E bad parameters!", "E bad parameters!"));
}

TEST_F(ZrSocket, ReportsThatThereIsNoDescriptorLeft) {
    {
        NoDescriptorsLeft exhausted;
        EXPECT_EQ(zr_socket(EM_UDP_LOCAL_SOCK), -1);
        EXPECT_EQ(Create("a.sock", true), -1);
    }
    EXPECT_THAT(m_log.TextsOf("zr_socket.cpp"),
                ElementsAre("E create socket failure,errno = 24!", "E create socket failure,errno = 24!",
                            "E create socket failure!!"));
    EXPECT_FALSE(std::filesystem::exists("a.sock"));
}

TEST_F(ZrSocket, RefusesANullPath) {
    EXPECT_EQ(zr_create_local_udpsvr(nullptr, false), -1);
    EXPECT_EQ(zr_create_local_udpsvr(nullptr, true), -1);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E bad parameters!", "E bad parameters!"));
}

TEST_F(ZrSocket, SendingSocketStaysUnboundAndLeavesTheFile) {
    MakeFile("a.sock");
    const int handle = Create("a.sock", false);
    EXPECT_GT(handle, 0);
    EXPECT_EQ(ReadWholeFile("a.sock"), "stale");
    sockaddr_un address;
    socklen_t length = sizeof(address);
    getsockname(handle, reinterpret_cast<sockaddr *>(&address), &length);
    EXPECT_EQ(length, sizeof(sa_family_t));
    zr_close(handle);
}

TEST_F(ZrSocket, ReceivingSocketTakesThePlaceOfAnyFile) {
    for (int again = 0; again < 2; ++again) { // a plain file, then a stale socket file
        if (again == 0)
            MakeFile("a.sock");
        const int handle = Create("a.sock", true);
        EXPECT_GT(handle, 0);
        EXPECT_TRUE(IsSocketFile("a.sock"));
        EXPECT_EQ(fcntl(handle, F_GETFL) & O_NONBLOCK, 0);
        EXPECT_EQ(zr_close(handle), 0);
        EXPECT_TRUE(IsSocketFile("a.sock"));
    }
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(ZrSocket, FailedBindClosesTheSocket) {
    const int open = OpenDescriptors();
    EXPECT_EQ(Create("missing/a.sock", true), -1);
    EXPECT_EQ(OpenDescriptors(), open);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E bind failure!!"));
}

TEST_F(ZrSocket, PathOf108CharactersIsUsedWhole) {
    const std::string path(108, 'p');
    MakeFile(path);
    MakeFile(path + "q");
    MakeFile(path.substr(1));
    const int handle = Create(path, true);
    EXPECT_TRUE(IsSocketFile(path));
    EXPECT_TRUE(std::filesystem::is_regular_file(path + "q"));
    EXPECT_TRUE(std::filesystem::is_regular_file(path.substr(1)));
    zr_close(handle);
}

TEST_F(ZrSocket, LongerPathIsCutTo107Characters) {
    for (const std::size_t size : {109U, 200U, 255U}) {
        const std::string path(size, static_cast<char>('a' + size % 26));
        MakeFile(path.substr(0, 107));
        MakeFile(path.substr(0, 108));
        const int handle = Create(path, true);
        EXPECT_GT(handle, 0);
        EXPECT_TRUE(IsSocketFile(path.substr(0, 107)));
        EXPECT_TRUE(std::filesystem::is_regular_file(path.substr(0, 108)));
        zr_close(handle);
    }
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(ZrSocket, BindsWithTheFullAddressLength) {
    // An empty path turns into an abstract name as long as the address record.
    const int handle = Create("", true);
    sockaddr_un address;
    socklen_t length = sizeof(address);
    getsockname(handle, reinterpret_cast<sockaddr *>(&address), &length);
    EXPECT_EQ(length, 110U);
    ZR_U8 path[] = "", data[] = "abc";
    const int sender = Create("", false);
    EXPECT_EQ(zr_local_udp_send(sender, path, data, 3), 3);
    EXPECT_EQ(RawReceive(handle), (Bytes{'a', 'b', 'c'}));
    zr_close(sender);
    zr_close(handle);
}

TEST_F(ZrSocket, CloseRefusesZeroAndBelowSilently) {
    const int null = open("/dev/null", O_RDONLY);
    ASSERT_EQ(dup2(null, 0), 0);
    EXPECT_EQ(zr_close(0), -1);
    EXPECT_EQ(zr_close(-1), -1);
    EXPECT_EQ(zr_close(-2147483647), -1);
    EXPECT_GE(fcntl(0, F_GETFD), 0);
    EXPECT_THAT(m_log.Texts(), IsEmpty());
    close(null);
}

TEST_F(ZrSocket, CloseReportsABadHandle) {
    const int handle = Create("", false);
    EXPECT_EQ(zr_close(handle), 0);
    EXPECT_EQ(zr_close(handle), -1);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E  close failure,errno = 9!"));
}

// The socket library as its header states it: every function with its type, every type.
#include "BSW/IPC/zr_socket.h"

#include <set>
#include <string>

#include <gtest/gtest.h>

namespace {

struct Function {
    template <typename Type>
    Function(const char *functionName, Type *function)
        : name(functionName), address(reinterpret_cast<void *>(function)) {}
    std::string name;
    void *address;
};

// The function, which the compiler refuses unless it has exactly this type.
template <typename Type> constexpr Type *Typed(Type *function) {
    return function;
}
#define FUNCTION(name, ...) Function(#name, Typed<ZR_S32(__VA_ARGS__)>(name))

const Function FUNCTIONS[] = {
    FUNCTION(zr_create_local_udpsvr, ZR_S8 *, bool),
    FUNCTION(zr_local_udp_send, ZR_S32, ZR_U8 *, ZR_U8 *, ZR_U32),
    FUNCTION(zr_local_udp_recv, ZR_S32, ZR_U8 *, ZR_U32, ZR_U8 *, ZR_U32),
    FUNCTION(zr_socket, SOCKET_TYPE_E),
    FUNCTION(zr_close, ZR_S32),
    FUNCTION(zr_create_local_tcpsvr, const ZR_S8 *),
    FUNCTION(zr_local_tcp_connect, ZR_S32, const ZR_U8 *),
    FUNCTION(zr_local_tcp_send, ZR_S32, const ZR_U8 *, ZR_U32),
    FUNCTION(zr_local_tcp_recv, ZR_S32, ZR_U8 *, ZR_U32),
    FUNCTION(zr_listen, ZR_S32, ZR_S32),
    FUNCTION(zr_accept, ZR_S32, ZR_S8 *, ZR_S32, ZR_U16 *),
    FUNCTION(zr_bind, ZR_S32, SA_FAMILY_E, const ZR_S8 *, ZR_U16),
    FUNCTION(zr_select, ZR_S32 *, ZR_S32, SELECT_TYPE_E, ZR_S32, ZR_S32 *),
    FUNCTION(zr_noblock_connect, ZR_S32, const ZR_S8 *, ZR_U16, ZR_S32),
    FUNCTION(zr_block_connect, ZR_S32, const ZR_S8 *, ZR_U16),
    FUNCTION(zr_tcp_noblock_recv, ZR_S32, ZR_S8 *, ZR_S32, ZR_S32),
    FUNCTION(zr_tcp_block_recv, ZR_S32, ZR_S8 *, ZR_S32, ZR_S32),
    FUNCTION(zr_tcp_noblock_send, ZR_S32, const ZR_S8 *, ZR_S32),
    FUNCTION(zr_tcp_noblock_send_ccufile, ZR_S32, const ZR_S8 *, ZR_S32),
    FUNCTION(zr_tcp_block_send, ZR_S32, const ZR_S8 *, ZR_S32),
    FUNCTION(zr_udp_recv, ZR_S32, ZR_S8 *, ZR_S32, ZR_S8 *, ZR_S32, ZR_U16 *, ZR_S32),
    FUNCTION(zr_udp_send, ZR_S32, const ZR_S8 *, ZR_S32, const ZR_S8 *, ZR_U16),
    FUNCTION(zr_set_localipaddr, const ZR_S8 *, const ZR_S8 *),
    FUNCTION(zr_get_localipaddr, const ZR_S8 *, ZR_S8 *, ZR_S32),
    FUNCTION(zr_set_localnetmask, const ZR_S8 *, const ZR_S8 *),
    FUNCTION(zr_get_localnetmask, const ZR_S8 *, ZR_S8 *, ZR_S32),
    FUNCTION(zr_set_localgatewayip, const ZR_S8 *, const ZR_S8 *, const ZR_S8 *, const ZR_S8 *),
    FUNCTION(zr_get_localgatewayip, const ZR_S8 *, const ZR_S8 *, const ZR_S8 *, ZR_S8 *, ZR_S32),
    FUNCTION(zr_set_localmacaddr, const ZR_S8 *, const ZR_S8 *),
    FUNCTION(zr_get_localmacaddr, const ZR_S8 *, ZR_S8 *, ZR_S32, ZR_U8),
    FUNCTION(zr_get_sockname, ZR_S32, ZR_S8 *, ZR_S32, ZR_U16 *),
    FUNCTION(zr_bind2device, ZR_S32, const ZR_S8 *),
    FUNCTION(zr_get_linkstatus, const ZR_S8 *, ZR_S32 *),
    FUNCTION(zr_set_sockbroadcast, ZR_S32, ZR_S32),
    FUNCTION(zr_set_sockkeepalive, ZR_S32, ZR_S32),
    FUNCTION(zr_set_sockreuseaddr, ZR_S32, ZR_S32),
    FUNCTION(zr_set_socknodelay, ZR_S32, ZR_S32),
    FUNCTION(zr_set_socksndbuf, ZR_S32, ZR_S32),
    FUNCTION(zr_set_sockrcvbuf, ZR_S32, ZR_S32),
    FUNCTION(zr_set_socklinger, ZR_S32, ZR_S32, ZR_S32),
    FUNCTION(zr_set_socknoblock, ZR_S32, ZR_S32),
    FUNCTION(zr_get_sockipaddr, ZR_S32, ZR_S8 *, ZR_S32),
    FUNCTION(zr_set_sockaddmembership, ZR_S32, const ZR_S8 *, const ZR_S8 *),
    FUNCTION(zr_set_sockdropmembership, ZR_S32, const ZR_S8 *, const ZR_S8 *),
    FUNCTION(zr_set_sockmulticast_noLoop, ZR_S32, ZR_S32),
    FUNCTION(zr_trans_macbin2str, ZR_S8 *, ZR_S32, const ZR_U8 *, ZR_U8),
    FUNCTION(zr_trans_macstr2bin, const ZR_S8 *, ZR_U8 *),
    FUNCTION(zr_socket_raw, ZR_U16, const ZR_S8 *, const ZR_S8 *, RAW_SOCKINFO_S *),
    FUNCTION(zr_socket_raw_send, const RAW_SOCKINFO_S *, const ZR_U8 *, ZR_U32),
    FUNCTION(zr_socket_raw_recv, ZR_S32, ZR_S8 *, ZR_S32, ZR_S32, RAW_ETHHDR_S *),
    FUNCTION(zr_socket_raw_close, ZR_S32),
};

static_assert(sizeof(SOCKET_TYPE_E) == 4 && sizeof(SELECT_TYPE_E) == 4 && sizeof(SA_FAMILY_E) == 4);
static_assert(std::is_same_v<SOCKET_TYPE_E, _SOCKET_TYPE> && std::is_same_v<SELECT_TYPE_E, _SELECT_TYPE>);
static_assert(std::is_same_v<SA_FAMILY_E, _SA_FAMILY> && std::is_same_v<RAW_ETHHDR_S, _RAW_ETHHDR_S>);
static_assert(std::is_same_v<RAW_SOCKINFO_S, _RAW_SOCKETINFO_S>);
static_assert(std::is_same_v<decltype(RAW_SOCKINFO_S::fd), int>);
static_assert(std::is_same_v<decltype(RAW_SOCKINFO_S::s32InterfaceIdx), ZR_S32>);
static_assert(std::is_same_v<decltype(RAW_SOCKINFO_S::u8Interface), ZR_U8[32]>);
static_assert(std::is_same_v<decltype(RAW_SOCKINFO_S::stEthHdr), RAW_ETHHDR_S>);
static_assert(std::is_same_v<decltype(RAW_ETHHDR_S::u8DstMac), ZR_U8[6]>);
static_assert(std::is_same_v<decltype(RAW_ETHHDR_S::u8SrcMac), ZR_U8[6]>);
static_assert(std::is_same_v<decltype(RAW_ETHHDR_S::u16EthType), ZR_U16>);

} // namespace

TEST(ZrSocketApi, EveryFunctionIsThereAndAnother) {
    std::set<void *> addresses;
    for (const Function &function : FUNCTIONS) {
        EXPECT_NE(function.address, nullptr) << function.name;
        EXPECT_TRUE(addresses.insert(function.address).second) << function.name;
    }
    EXPECT_EQ(std::size(FUNCTIONS), 51U);
}

TEST(ZrSocketApi, SizesOfTheTypes) {
    EXPECT_EQ(sizeof(RAW_ETHHDR_S), 14U);
    EXPECT_EQ(sizeof(RAW_SOCKINFO_S), 56U); // 4 + 4 + 32 + 14, rounded up
    EXPECT_EQ(offsetof(RAW_SOCKINFO_S, fd), 0U);
    EXPECT_EQ(offsetof(RAW_SOCKINFO_S, s32InterfaceIdx), 4U);
    EXPECT_EQ(offsetof(RAW_SOCKINFO_S, u8Interface), 8U);
    EXPECT_EQ(offsetof(RAW_SOCKINFO_S, stEthHdr), 40U);
}

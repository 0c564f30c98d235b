// The message between the service and its peer processes: one datagram, 1547 bytes,
// in the byte order of the board (little-endian). Plain data, any thread.
#pragma once

#include <cstddef>

#include "common/Types.h"

constexpr std::size_t IPC_PAYLOAD_BYTES = 1536; // 24 channel blocks of 32 16-bit samples
constexpr ZR_U8 IPC_HDR_0 = 0xAA;
constexpr ZR_U8 IPC_HDR_1 = 0xBB;

// The sender's module. The service sends 0 and accepts only 1.
typedef enum _emIpcMod {
    EM_IPC_MODTYPE_FPGA = 0,
    EM_IPC_MODTYPE_AUDSTREAM = 1,
    EM_IPC_MODTYPE_SYSCTRL = 2,
    EM_IPC_MODTYPE_DAEMON = 3,
    EM_IPC_MODTYPE_ZEGO = 4,
} emIpcMod;

// What the payload is.
typedef enum _emIpcCmd {
    EM_IPC_MSGCMD_AUDIO = 0, // PCM: 24 planar channel blocks
    EM_IPC_MSGCMD_CTRL = 1,  // a StreamCtrl
    EM_IPC_MSGCMD_DEBUG = 2, // a StreamDebug
    EM_IPC_MSGCMD_MAX = 3,   // bound, never sent
} emIpcCmd;

// StreamCtrl::u8Cmd.
enum {
    EM_STREAM_CTRL_NULL = 0,
    EM_STREAM_CTRL_OPEN = 1,
    EM_STREAM_CTRL_CLOSE = 2,
    EM_STREAM_CTRL_MAX = 3,
};

#pragma pack(push, 1)

typedef struct _stModIpcMsg {
    ZR_U8 u8HDR[2];                // start mark 0xAA 0xBB
    ZR_U8 u8Cmd;                   // an emIpcCmd value
    ZR_U8 u8Describe;              // the sender, an emIpcMod value
    ZR_U16 u16DataLen;             // meaningful payload bytes; 1536 for audio
    ZR_U32 u32seq;                 // the service sends 0 and never checks it
    ZR_U8 u8XOR8;                  // check byte of the header, see IpcMsgXor8
    ZR_U8 pBuf[IPC_PAYLOAD_BYTES]; // audio block, StreamCtrl or StreamDebug
} stModIpcMsg;

// Payload of a control message.
typedef struct _StreamCtrl {
    ZR_U8 u8Cmd; // 1 opens, any other value closes
    ZR_U8 u8Chl; // streamer (channel) number
} StreamCtrl;

// Payload of a debug message.
typedef struct _StreamDebug {
    ZR_U8 u8Cmd; // debug command number, only logged
} StreamDebug;

#pragma pack(pop)

static_assert(sizeof(stModIpcMsg) == 1547, "the message is 1547 bytes on the socket");
static_assert(offsetof(stModIpcMsg, u16DataLen) == 4 && offsetof(stModIpcMsg, u32seq) == 6 &&
              offsetof(stModIpcMsg, u8XOR8) == 10 && offsetof(stModIpcMsg, pBuf) == 11);

// The check byte of a message: both start marks, command, sender and the lowest bytes
// of the sequence number and of the length. Upper bytes and payload are not covered.
inline ZR_U8 IpcMsgXor8(const stModIpcMsg &msg) {
    return static_cast<ZR_U8>(msg.u8HDR[0] ^ msg.u8HDR[1] ^ msg.u8Cmd ^ msg.u8Describe ^ (msg.u32seq & 0xFF) ^
                              (msg.u16DataLen & 0xFF));
}

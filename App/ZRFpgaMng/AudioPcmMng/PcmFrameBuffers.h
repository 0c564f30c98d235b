// The working buffers of one PCM thread, allocated once at its start.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include <sys/uio.h>

#include "BSW/Log/Log.h"
#include "ZRFpgaMng/Include/FpgaMngDef.h"

// What a thread takes in (u8MsgPag) and what it hands on (u8Buffer). Both hold a full
// card period, also where only a payload is used: repeated tags write past a payload.
struct PcmFrameBuffers {
    std::unique_ptr<uint8_t[]> u8MsgPag{new (std::nothrow) uint8_t[AUDIO_CARD_PERIOD_BYTES]};
    std::unique_ptr<uint8_t[]> u8Buffer{u8MsgPag ? new (std::nothrow) uint8_t[AUDIO_CARD_PERIOD_BYTES] : nullptr};
    uint16_t u16Len = 0; // length field of the stream buffer record

    // True when both buffers are there; logs the one that is missing.
    bool Allocated() const {
        if (!u8MsgPag)
            LOG_ERR("malloc u8MsgPag failed");
        else if (!u8Buffer)
            LOG_ERR("malloc u8Buffer failed");
        return u8Buffer != nullptr;
    }

    void Clear() {
        std::memset(u8MsgPag.get(), 0, AUDIO_CARD_PERIOD_BYTES);
        std::memset(u8Buffer.get(), 0, AUDIO_CARD_PERIOD_BYTES);
    }
};

// Fixed-width integer names shared by every layer and by the peer message.
#pragma once

#include <cstdint>

using ZR_S8 = std::int8_t;
using ZR_U8 = std::uint8_t;
using ZR_S16 = std::int16_t;
using ZR_U16 = std::uint16_t;
using ZR_S32 = std::int32_t;
using ZR_U32 = std::uint32_t;
using ZR_S64 = std::int64_t;
using ZR_U64 = std::uint64_t;
using UINT32 = std::uint32_t;

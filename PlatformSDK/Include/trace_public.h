// Log levels and module log numbers, shared by every program that logs.
#pragma once

#include <cstdint>

typedef enum tagLOG_E_LEVEL : std::int32_t {
    LOG_LEVEL_INIT = 0, // no level
    LOG_LEVEL_ERR = 1,
    LOG_LEVEL_WRN = 2,
    LOG_LEVEL_INF = 3,
    LOG_LEVEL_DBG = 4,
    LOG_LEVEL_BUTT = 5, // end marker
} LOG_E_LEVEL;

typedef enum tagMODULE_LOG : std::int32_t {
    MODULE_LOG_0 = 0,
    MODULE_LOG_1,
    MODULE_LOG_2,
    MODULE_LOG_3,
    MODULE_LOG_4,
    MODULE_LOG_5,
    MODULE_LOG_6,
    MODULE_LOG_7,
    MODULE_LOG_8,
    MODULE_LOG_9,
    MODULE_LOG_10,
    MODULE_LOG_11,
    MODULE_LOG_12,
    MODULE_LOG_13,
    MODULE_LOG_14,
    MODULE_LOG_15,
    MODULE_LOG_16,
    MODULE_LOG_17,
    MODULE_LOG_18,
    MODULE_LOG_19,
    MODULE_LOG_SIZE = 20, // number of module logs
} MODULE_LOG;

// Statistics of a periodic event. Runs on the thread of the event.
#include "BSW/BasicFun/IntervalPrint.h"

#include "BSW/BasicFun/Clock.h"
#include "BSW/BasicFun/LogName.h"
#include "BSW/Log/Log.h"

namespace {

void CountInterval(TimeInterval &interval) {
    interval.u32IntervalMs = interval.u32CurTimeMs - interval.u32LastTimeMs; // over the wrap too
    const bool isFirst = interval.u32Cnt == 2;
    if (isFirst || interval.u32IntervalMs < interval.u32MinIntervalMs) {
        interval.u32MinIntervalMs = interval.u32IntervalMs;
        interval.u32MinIntervalCnt = interval.u32Cnt;
    }
    if (isFirst || interval.u32IntervalMs > interval.u32MaxIntervalMs) {
        interval.u32MaxIntervalMs = interval.u32IntervalMs;
        interval.u32MaxIntervalCnt = interval.u32Cnt;
    }
}

} // namespace

void PrintTimeInterval(char *name, TimeInterval &interval) {
    if (!name) {
        LOG_ERR("PrintTimeInterval: no name");
        return;
    }
    interval.u32LastTimeMs = interval.u32CurTimeMs;
    interval.u32CurTimeMs = static_cast<ZR_U32>(SystemGetMSCount());
    if (++interval.u32Cnt > 1)
        CountInterval(interval);
    LogName shown(name);
    LOG_DBG("%s: %4d [%4d,%4d] %3d ms. Size = %5d %s", shown.Next(), static_cast<int>(interval.u32Cnt),
            static_cast<int>(interval.u32MinIntervalMs), static_cast<int>(interval.u32MaxIntervalMs),
            static_cast<int>(interval.u32IntervalMs), static_cast<int>(interval.u32Size),
            interval.u32IFrame ? "IFrame" : "");
}

// Looks into the PCM bridge: counters and switches of the one AudioPcm, also while its
// threads run.
#pragma once

#include "ZRFpgaMng/AudioPcmMng/AudioPcm.h"
#include "common/Relaxed.h"

class AudioPcmProbe {
  public:
    static uint64_t FramesTaken() { return RelaxedLoad(Pcm().m_u64RdBfCnt); }
    static uint64_t FramesGiven() { return RelaxedLoad(Pcm().m_u64WrBfCnt); }
    static uint64_t CardReads() { return RelaxedLoad(Pcm().m_u64RdSucCnt); }
    static uint64_t CardReadErrors() { return RelaxedLoad(Pcm().m_u64RdErrCnt); }
    static uint64_t CardWrites() { return RelaxedLoad(Pcm().m_u64WrSucCnt); }
    static uint64_t CardWriteErrors() { return RelaxedLoad(Pcm().m_u64WrErrCnt); }
    static uint64_t Dropped() { return RelaxedLoad(Pcm().m_u64WrDropCnt); }
    static uint64_t BacklogRun() { return RelaxedLoad(Pcm().m_u64WrConCnt); }
    static uint64_t EmptyChecks() { return RelaxedLoad(Pcm().m_u64WrCnt1); }
    static uint64_t FilledChecks() { return RelaxedLoad(Pcm().m_u64WrCnt2); }
    static uint64_t BadPeriods() { return RelaxedLoad(Pcm().m_u64ProRdFailCnt); }
    static uint64_t ReadTime() { return RelaxedLoad(Pcm().m_u64RdTime1); }
    static uint64_t ReadCardTime() { return RelaxedLoad(Pcm().m_u64RdTime2); }
    static uint64_t MaxReadTime() { return RelaxedLoad(Pcm().m_u64RdMaxTime1); }
    static uint64_t MaxReadCardTime() { return RelaxedLoad(Pcm().m_u64RdMaxTime2); }
    static uint64_t WriteTime() { return RelaxedLoad(Pcm().m_u64WrTime1); }
    static uint64_t WriteCardTime() { return RelaxedLoad(Pcm().m_u64WrTime2); }
    static uint64_t MaxWriteCardTime() { return RelaxedLoad(Pcm().m_u64WrMaxTime); }

    static int64_t CaptureToRecord() { return Observe(Pcm().m_s64RdSaveCnt); }
    static int64_t PlaybackToRecord() { return Observe(Pcm().m_s64WrSaveCnt); }
    static FILE *CaptureFile() { return RelaxedLoad(Pcm().m_fpRd); }
    static FILE *PlaybackFile() { return RelaxedLoad(Pcm().m_fpWr); }

    static bool DumpIsOn() { return RelaxedLoad(Pcm().m_bDebug); }
    static void SwitchDump(bool on) { RelaxedStore(Pcm().m_bDebug, on); }

    // Gives the bridge a device and stream buffers without Init, or takes the device away.
    static void SetDevice(AlsaSound *device) { Publish(Pcm().m_pAlsaHdl, device); }
    static void SetHandles(void *in, void *out) {
        Pcm().m_BufferHdlMap[DIRECT_IN] = in;
        Pcm().m_BufferHdlMap[DIRECT_OUT] = out;
    }
    static void SetPeriodSamples(int32_t samples) { Pcm().m_s32PeriodSamples = samples; }

    // Gives the counters and times of the report, in the order of its lines, `first`,
    // `first` + 1, ... Only without threads.
    static void NumberCounters(uint64_t first) {
        AudioPcm &pcm = Pcm();
        for (uint64_t *counter :
             {&pcm.m_u64WrBfCnt, &pcm.m_u64RdSucCnt, &pcm.m_u64RdErrCnt, &pcm.m_u64ProRdFailCnt, &pcm.m_u64RdCnt1,
              &pcm.m_u64RdCnt2,  &pcm.m_u64RdTime1,  &pcm.m_u64RdTime2,  &pcm.m_u64RdMaxTime1,   &pcm.m_u64RdMaxTime2,
              &pcm.m_u64RdBfCnt, &pcm.m_u64WrSucCnt, &pcm.m_u64WrErrCnt, &pcm.m_u64WrDropCnt,    &pcm.m_u64WrCnt1,
              &pcm.m_u64WrCnt2,  &pcm.m_u64WrConCnt, &pcm.m_u64WrTime1,  &pcm.m_u64WrTime2,      &pcm.m_u64WrMaxTime})
            *counter = first++;
    }

  private:
    static AudioPcm &Pcm() { return *AudioPcm::instance(); }
};

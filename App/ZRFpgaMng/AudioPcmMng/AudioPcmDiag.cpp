// The PCM bridge's report and its print switch. Runs on the D-Bus handler's thread while
// both PCM threads go on counting: a report may mix values of different periods.
#include "BSW/Log/Log.h"
#include "ZRFpgaMng/AudioPcmMng/AudioPcm.h"

void AudioPcm::PrintSwitch(bool flag) {
    RelaxedStore(m_bDebug, flag);
    LOG_DBG("Set Pcm Print switch:%d", flag);
}

void AudioPcm::PrintNodeInfo() {
    const auto PcmDiff = static_cast<int64_t>(RelaxedLoad(m_u64RdSucCnt) - RelaxedLoad(m_u64WrSucCnt) -
                                              RelaxedLoad(m_u64WrDropCnt)); // negative when more was played
    _PrintReadInfo();
    _PrintWriteInfo();
    LOG_DBG("Pcm Print switch:%d, PcmDiff:%ld", RelaxedLoad(m_bDebug), PcmDiff);
}

void AudioPcm::_PrintReadInfo() const {
    LOG_DBG("[Pcm]ReadThread WrBuffer:%ld RdSuc:%ld RdErr:%ld, ProRdFail:%ld", RelaxedLoad(m_u64WrBfCnt),
            RelaxedLoad(m_u64RdSucCnt), RelaxedLoad(m_u64RdErrCnt), RelaxedLoad(m_u64ProRdFailCnt));
    LOG_DBG("[Pcm]Read Cnt1:%ld Cnt2:%ld Time:%ldus %ldus Max:%ldus %ldus", RelaxedLoad(m_u64RdCnt1),
            RelaxedLoad(m_u64RdCnt2), RelaxedLoad(m_u64RdTime1), RelaxedLoad(m_u64RdTime2),
            RelaxedLoad(m_u64RdMaxTime1), RelaxedLoad(m_u64RdMaxTime2));
}

void AudioPcm::_PrintWriteInfo() const {
    LOG_DBG("[Pcm]WriteThread RdBuffer:%ld WrSuc:%ld WrErr:%ld, WrDrop:%ld", RelaxedLoad(m_u64RdBfCnt),
            RelaxedLoad(m_u64WrSucCnt), RelaxedLoad(m_u64WrErrCnt), RelaxedLoad(m_u64WrDropCnt));
    LOG_DBG("[Pcm]Write Cnt1:%ld Cnt2:%ld, Cnt3:%ld Time:%ldus %ldus Max:%ldus", RelaxedLoad(m_u64WrCnt1),
            RelaxedLoad(m_u64WrCnt2), RelaxedLoad(m_u64WrConCnt), RelaxedLoad(m_u64WrTime1), RelaxedLoad(m_u64WrTime2),
            RelaxedLoad(m_u64WrMaxTime));
}

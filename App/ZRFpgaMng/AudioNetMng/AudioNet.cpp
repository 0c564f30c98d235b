// The network bridge: set-up, tear-down and the two audio threads. The checks of
// messages and the control datagrams are in AudioNetMsg.cpp.
#include "ZRFpgaMng/AudioNetMng/AudioNet.h"

#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <string>

#include <sys/uio.h>
#include <unistd.h>

#include "BSW/Log/Log.h"
#include "BSW/ThreadPool/ThreadPool.h"
#include "ZRFpgaMng/ZRBuffer/ZRBuffer.h"
#include "common/Relaxed.h"

namespace {

constexpr int AUDIO_PORT = 50000;
constexpr int CTRL_PORT = 50001;
constexpr ZR_U32 QUEUE_RECORD_BYTES = 3072;
constexpr ZR_U32 QUEUE_RECORDS = 40;
constexpr std::size_t ENDPOINT_RECEIVE_BYTES = 1600; // what a receive without a queue may deliver
constexpr useconds_t EMPTY_BUFFER_SLEEP_US = 1200;
constexpr useconds_t RECEIVE_ERROR_SLEEP_US = 1000;

// Where a receive without a queue lands; the first 1547 bytes are the message.
struct ReceiveArea {
    stModIpcMsg msg;
    ZR_U8 spare[ENDPOINT_RECEIVE_BYTES - sizeof(stModIpcMsg)];
};
static_assert(sizeof(ReceiveArea) == ENDPOINT_RECEIVE_BYTES);

// A stream buffer record as it lies inside a message: length, then payload.
struct RecordVec {
    explicit RecordVec(stModIpcMsg &msg) {
        char *base = reinterpret_cast<char *>(&msg);
        vec[0] = {base + offsetof(stModIpcMsg, u16DataLen), sizeof(msg.u16DataLen)};
        vec[1] = {base + offsetof(stModIpcMsg, pBuf), sizeof(msg.pBuf)};
    }
    iovec vec[2];
};

struct EndpointSetup {
    const char *path;
    int port;
    bool receives;
    bool queued;
};

CZRIpc *OpenEndpoint(CZRIpc *&slot, const EndpointSetup &setup) {
    slot = new (std::nothrow) CZRIpc;
    if (!slot) {
        LOG_ERR("new CZRIPC error!!!");
        return nullptr;
    }
    if (!slot->Init(0, const_cast<char *>(setup.path), setup.port, QUEUE_RECORD_BYTES, QUEUE_RECORDS, setup.receives,
                    setup.queued)) {
        LOG_ERR("IPCStreamer init error!!!");
        return nullptr;
    }
    return slot;
}

void CompleteAudioHeader(stModIpcMsg &msg) {
    msg.u8HDR[0] = IPC_HDR_0;
    msg.u8HDR[1] = IPC_HDR_1;
    msg.u8Cmd = EM_IPC_MSGCMD_AUDIO;
    msg.u8Describe = EM_IPC_MODTYPE_FPGA;
    msg.u32seq = 0;
    msg.u8XOR8 = IpcMsgXor8(msg);
}

// What a failed Init made is not undone: it stays with the process.
[[gnu::used]] CZRIpc *leftToTheProcess[3];

} // namespace

AudioNet::AudioNet() {
    LOG_INF("#### AudioNet ####");
}

// A bridge thread that still runs ends the process here: destroying its thread object
// calls std::terminate. The exit on a signal counts on that.
AudioNet::~AudioNet() {
    LOG_INF("#### ~AudioNet ####");
    // After a start that got no thread the process lives on: the control endpoint's thread must not outlive the log.
    if (m_pCZRIpcCtrlProcess && !m_ptIpcSend.joinable() && !m_ptIpcRecv.joinable())
        m_pCZRIpcCtrlProcess->DestroyThread(true, true);
    leftToTheProcess[0] = m_pCZRIpcSendStream;
    leftToTheProcess[1] = m_pCZRIpcRecvStream;
    leftToTheProcess[2] = m_pCZRIpcCtrlProcess;
}

bool AudioNet::Init() {
    if (m_bInit) {
        LOG_WRN("module already init!!!!");
        return true;
    }
    // A failure part-way leaves what was made; nothing is undone.
    if (!_TakeBufferHandles() || !_OpenEndpoints() || !_StartThreads())
        return false;
    m_bInit = true;
    return true;
}

bool AudioNet::_TakeBufferHandles() {
    const int modes[DIRECT_MAX] = {CZRBuffer::RD_ONLY, CZRBuffer::WR_ONLY};
    for (const emDirect direct : {DIRECT_IN, DIRECT_OUT}) {
        m_BufferHdlMap[direct] = CZRBuffer::instance()->GetBufferOpsHdl(direct, modes[direct]);
        if (!m_BufferHdlMap[direct]) {
            LOG_ERR("GetBufferOpsHdl error");
            return false;
        }
        LOG_DBG("m_BufferHdlMap[%d]=%p", direct, m_BufferHdlMap[direct]);
    }
    return true;
}

bool AudioNet::_OpenEndpoints() {
    if (!OpenEndpoint(m_pCZRIpcSendStream, {"/tmp/AudioStream_Fpga_to_Arm", AUDIO_PORT, false, false}) ||
        !OpenEndpoint(m_pCZRIpcRecvStream, {"/tmp/AudioStream_Arm_to_Fpga", AUDIO_PORT, true, false}) ||
        !OpenEndpoint(m_pCZRIpcCtrlProcess, {"/tmp/CtrlStream_Arm_to_Fpga", CTRL_PORT, true, true}))
        return false;
    m_pCZRIpcCtrlProcess->RegisterIPCCallback(_CtrlMsgProcessCallBack, this);
    return true;
}

bool AudioNet::_StartThreads() {
    try {
        m_ptIpcSend = std::thread(&AudioNet::AudioNetSendThread, this);
        m_ptIpcRecv = std::thread(&AudioNet::AudioNetRecvThread, this);
    } catch (const std::exception &e) {
        const std::string text = std::string("create MergeThread exception: ") + e.what();
        std::printf("error, %s\n", text.c_str());
        return false;
    }
    return true;
}

void AudioNet::UnInit() {
    if (!m_bInit)
        return;
    // The thread bodies have no stop condition: these joins return only once both ended.
    if (m_ptIpcRecv.joinable())
        m_ptIpcRecv.join();
    if (m_ptIpcSend.joinable())
        m_ptIpcSend.join();

    m_pCZRIpcCtrlProcess->CleanUp();
    m_pCZRIpcCtrlProcess->UnregisterIPCCallback(_CtrlMsgProcessCallBack, this);
    delete m_pCZRIpcCtrlProcess;
    for (CZRIpc *endpoint : {m_pCZRIpcRecvStream, m_pCZRIpcSendStream}) {
        endpoint->CleanUp();
        delete endpoint;
    }
    m_bInit = false;
}

void AudioNet::AudioNetSendThread() {
    SetThreadName("NetSend");
    void *const handle = m_BufferHdlMap[DIRECT_IN];
    stModIpcMsg msg;
    for (;;) {
        std::memset(&msg, 0, sizeof(msg));
        int count = 0;
        CZRBuffer::instance()->BufferCount(handle, &count);
        if (count <= 0) {
            usleep(EMPTY_BUFFER_SLEEP_US);
            continue;
        }
        _SendOneRecord(handle, msg);
    }
}

void AudioNet::_SendOneRecord(void *handle, stModIpcMsg &msg) {
    RecordVec record(msg);
    if (CZRBuffer::instance()->Read(handle, record.vec, 2, 0) > 0)
        RelaxedAdd(m_u64RdBfCnt);
    // Sent also when the read failed: the peer then gets length 0 and silence.
    CompleteAudioHeader(msg);
    if (m_pCZRIpcSendStream->SendIPCMsg(AUDIO_PORT, reinterpret_cast<char *>(&msg), sizeof(msg)) > 0)
        RelaxedAdd(m_u64SndSucCnt);
    else
        RelaxedAdd(m_u64SndErrCnt);
}

void AudioNet::AudioNetRecvThread() {
    SetThreadName("NetRecv");
    void *const handle = m_BufferHdlMap[DIRECT_OUT];
    ReceiveArea area;
    for (;;) {
        std::memset(&area.msg, 0, sizeof(area.msg));
        if (m_pCZRIpcRecvStream->RecvIPCMsg(&area, sizeof(area.msg), EM_IPC_BLOCK) < 0) {
            RelaxedAdd(m_u64RcvErrCnt);
            usleep(RECEIVE_ERROR_SLEEP_US);
            continue;
        }
        if (_CheckIpcMsgXOR(&area.msg) != EM_IPC_MSGCMD_AUDIO) {
            RelaxedAdd(m_u64RcvErrCnt);
            continue;
        }
        RelaxedAdd(m_u64RcvSucCnt);
        _WriteOneRecord(handle, area.msg);
    }
}

void AudioNet::_WriteOneRecord(void *handle, stModIpcMsg &msg) {
    RecordVec record(msg);
    const int ret = CZRBuffer::instance()->Write(handle, record.vec, 2);
    if (ret > 0)
        RelaxedAdd(m_u64WrBfCnt);
    else
        LOG_ERR("write error,ret=%d", ret);
}

void AudioNet::PrintNodeInfo() {
    LOG_DBG("[Net]SendThread RdBuffer:%ld SndSuc:%ld SndErr:%ld", static_cast<long>(RelaxedLoad(m_u64RdBfCnt)),
            static_cast<long>(RelaxedLoad(m_u64SndSucCnt)), static_cast<long>(RelaxedLoad(m_u64SndErrCnt)));
    LOG_DBG("[Net]RecvThread WrBuffer:%ld RcvSuc:%ld RcvErr:%ld", static_cast<long>(RelaxedLoad(m_u64WrBfCnt)),
            static_cast<long>(RelaxedLoad(m_u64RcvSucCnt)), static_cast<long>(RelaxedLoad(m_u64RcvErrCnt)));
}

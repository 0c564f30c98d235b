// The network bridge: checking messages and taking control datagrams. The control
// callback runs on the control endpoint's thread, the check on any.
#include <cstring>

#include "BSW/Log/Log.h"
#include "ZRFpgaMng/AudioNetMng/AudioNet.h"

int AudioNet::_CheckIpcMsgXOR(const stModIpcMsg *pstMsg) {
    if (!pstMsg) {
        LOG_ERR("bad param!!!!");
        return -1;
    }
    if (pstMsg->u8HDR[0] != IPC_HDR_0 || pstMsg->u8HDR[1] != IPC_HDR_1) {
        LOG_ERR("pag head[0] = %d,u8HDR[1] = %d", pstMsg->u8HDR[0], pstMsg->u8HDR[1]);
        return -2;
    }
    if (pstMsg->u8Describe != EM_IPC_MODTYPE_AUDSTREAM) {
        LOG_ERR("stream describe is 0x%x", pstMsg->u8Describe);
        return -3;
    }
    const ZR_U8 u8XOR8 = IpcMsgXor8(*pstMsg);
    if (u8XOR8 != pstMsg->u8XOR8) {
        LOG_ERR("pstMsg->u8XOR8[%d] != u8XOR8[%d]", pstMsg->u8XOR8, u8XOR8);
        return -4;
    }
    return pstMsg->u8Cmd;
}

int AudioNet::_CtrlMsgProcessCallBack(void *pData, int nDataLen, void *pUser) {
    if (!pData || !pUser) {
        LOG_ERR("bad param !!!!!");
        return -1;
    }
    if (nDataLen != static_cast<int>(sizeof(stModIpcMsg))) {
        LOG_WRN("nDataLen(%d) != sizeof(stModIpcMsg){%ld}", nDataLen, static_cast<long>(sizeof(stModIpcMsg)));
        return -2;
    }
    LOG_DBG("_CtrlMsgProcessCallBack");

    stModIpcMsg msg;
    std::memcpy(&msg, pData, sizeof(msg));
    switch (_CheckIpcMsgXOR(&msg)) {
    case EM_IPC_MSGCMD_CTRL: // only logged: the streams run whatever is asked
        LOG_INF("%s %d streamer", msg.pBuf[offsetof(StreamCtrl, u8Cmd)] == EM_STREAM_CTRL_OPEN ? "open" : "close",
                msg.pBuf[offsetof(StreamCtrl, u8Chl)]);
        return 0;
    case EM_IPC_MSGCMD_DEBUG:
        LOG_INF("pMsgDebug->u8Cmd = %d", msg.pBuf[offsetof(StreamDebug, u8Cmd)]);
        return 0;
    default:
        LOG_ERR("bad MODULE_IPC_STREAMER CMD!!!!");
        return -3;
    }
}

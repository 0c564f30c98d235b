// Bounded queue of messages with user data, for any number of senders and receivers.
// Any thread.
#pragma once

#include <cstdint>
#include <list>

#include "common/Mutex.h"
#include "common/Semaphore.h"

typedef enum : std::uint32_t {
    XM_SYSTEM = 0,
    XM_QUIT = 1, // the receiver is asked to end
    XM_TIMER = 2,
    XM_WIFI_STATUS = 3,
    XM_APP_RESTART = 4,
    XM_UPGRADE_START = 5,
    XM_UPGRADE_FINISH = 6,
    XM_MSG_USERDATA = 7, // the only message that carries user data
} xm_msg_t;

typedef struct tagXMSG {
    std::uint32_t msg; // an xm_msg_t
    std::uint32_t wpa;
    unsigned long lpa;
    std::uint64_t time; // SystemGetMSCount() at sending
    char *pUserData;    // null, or the receiver's to free()
    std::uint32_t u32UserDataLen;
} XMSG;

typedef std::list<XMSG> MSGQUEUE;

class CMsgQue {
  public:
    // An empty queue for at most `maxMsg` messages. The name is kept to its first 63
    // characters; null means none.
    CMsgQue(const char *name, int maxMsg);

    // Frees the user data of every message held. Nobody may be using the queue.
    virtual ~CMsgQue();

    CMsgQue(const CMsgQue &) = delete;
    CMsgQue &operator=(const CMsgQue &) = delete;

    // Queues a message. `priority` 1 puts it behind everything held (it is received
    // last); 0, or any negative value, puts it where it is received next. `pUserData`
    // (`UserDataLen` bytes) is copied for XM_MSG_USERDATA and ignored otherwise.
    // False when the queue is full, when `priority` is above 1, after QuitMsg, or when
    // memory for the copy is short.
    bool SendMsg(std::uint32_t msg, std::uint32_t wpa, unsigned long lpa, int priority, const char *pUserData,
                 std::uint32_t UserDataLen);

    // Takes the next message into `pMsg`: the newest of priority 0, or when none is left
    // the oldest of priority 1. With `wait` blocks until there is one. False when there is
    // none to take; a message that a blocked receiver is being woken for is that
    // receiver's. The receiver frees `pMsg->pUserData` with free().
    bool RecvMsg(XMSG *pMsg, bool wait);

    // Drops every message and its user data.
    void ClearMsg();

    // Accepts no message from now on, for good. What is held can still be received.
    void QuitMsg();

    // Messages held.
    unsigned GetMsgCount();

    // The most messages held at a time, and a new value for it (what is held stays).
    int GetMsgSize();
    void SetMsgSize(int maxMsg);

  private:
    bool _Accepts(int priority) const;
    XMSG _TakeLast();

    int m_nMaxMsg;
    int m_nMsg = 0;
    bool m_bMsgFlg = true; // accepting
    char m_szMsgName[64] = {};
    MSGQUEUE m_Queue;
    CMutex m_Mutex{"MsgQue"};
    CSemaphore m_Semaphore{0}; // one count per message that no receiver has been woken for
};

// The process's one connection to the D-Bus system bus: a bus name, a table of services
// that a worker thread ("CDbusHandler") answers, outgoing signals and method calls. Every
// argument and every reply is one D-Bus string. Any thread may register and send, also a
// handler while it runs.
#pragma once

#include <string>
#include <vector>

#include <dbus/dbus.h>

#include "BSW/Dbus/DbusMessage.h"
#include "BSW/MultiTask/Thread.h"
#include "common/Mutex.h"
#include "common/Singleton.h"

// Answers one method call or takes one signal: gets the argument text, returns the reply
// text (UTF-8; discarded for a signal). Runs on the worker thread, without any lock.
typedef const std::string (*PFN_DBUS_INVOKE)(const std::string &);

// One registered service. The texts are not copied: they outlive the registration.
typedef struct tagDBUS_SERVICES {
    const char *pstrObjectName; // object path the service answers on
    const char *pstrInterface;
    const char *pstrMethod; // method or signal member
    PFN_DBUS_INVOKE pfnInvoke;
} DBUS_SERVICES;

class CDbusHandler : public CThread, public Singleton<CDbusHandler> {
    friend class Singleton<CDbusHandler>;
    friend class DbusHandlerProbe; // the tests look into a running connection through it

  public:
    // Connects to the system bus, claims `pstrDbusName` (replacing an owner that allows
    // it) and starts the worker. No bus, a refused or a malformed name is only logged,
    // and nothing is tried again later. Blocks for the bus's answers. True when the
    // worker runs.
    bool Init(const char *pstrDbusName);

    // Nothing to do: connection and worker last until the process exits. Always 1.
    int CleanUp();

    // Adds a service at the end of the table; the same one may stand there several times,
    // each answers. With `isSingnal` also subscribes to the signal (blocks for the bus's
    // answer; a refusal is only logged). The texts must outlive the registration. 1, or 0
    // when an argument is null.
    int RegisteredServices(const char *pstrObjectName, const char *pstrtInterface, const char *pstrMethod,
                           PFN_DBUS_INVOKE pfnRegistrationCallback, bool isSingnal);

    // Removes the services of this object path whose interface differs from the path and
    // whose method differs from `pstrMethod`; those of `pstrMethod` itself stay, and so do
    // signal subscriptions. `pstrtInterface` takes no part. 1, or 0 when an argument is
    // null.
    int UnRegisteredServices(const char *pstrObjectName, const char *pstrtInterface, const char *pstrMethod);

    // Sends the signal `pstrMethod` with the text `pstrValue` (UTF-8). 1 sent, 0 failed:
    // a null, malformed or non-UTF-8 argument or no open connection; the log says which.
    int SignalSend(const char *pstrObjectName, const char *pstrInterface, const char *pstrMethod,
                   const char *pstrValue);

    // Sends a method call with one text and awaits no reply. `pstrDbusDstName` may be
    // null. 1 sent, 0 failed, as SignalSend.
    int MethodSend(const char *pstrDbusDstName, const char *pstrObjectName, const char *pstrInterface,
                   const char *pstrMethod, const std::string &strValue);

    // The same, and blocks up to `iTimeout` ms (negative: the library's 25 s) for the
    // reply's text in `strReply`; meanwhile the handler's lock is held. 1 replied, 0
    // failed or refused, `strReply` unchanged. Throws std::logic_error when the reply does
    // not begin with a string.
    int MethodSendGetReply(const char *pstrDbusDstName, const char *pstrObjectName, const char *pstrInterface,
                           const char *pstrMethod, const std::string &strValue, std::string &strReply,
                           const int iTimeout);

    // Worker: hands each incoming call and signal to the handlers that match it. A signal
    // whose first argument is no string is dropped; such a call ends the process by an
    // uncaught std::logic_error: callers always pass one string.
    void ThreadProc() override;

  private:
    CDbusHandler();
    ~CDbusHandler() override;
    CDbusHandler(const CDbusHandler &) = delete;
    CDbusHandler &operator=(const CDbusHandler &) = delete;

    void _Connect(const char *pstrDbusName);
    void _ClaimName(const char *pstrDbusName);
    bool _HasServices();
    void SignalListen(const char *pstrInterface, const char *pstrMethod);
    bool QueryMessage(int s32TimeoutMs);
    int HandleMessage(std::vector<DBUS_SERVICES> &VcDbusServices, int s32ServicesNum);
    DbusMessagePtr _PopMessage();
    void _AnswerCall(DBusMessage *msg, const DBUS_SERVICES &service);
    bool _TakeSignal(DBusMessage *msg, const DBUS_SERVICES &service);
    DbusMessagePtr _BuildCall(const char *pstrDbusDstName, const char *pstrObjectName, const char *pstrInterface,
                              const char *pstrMethod, const std::string &strValue);
    DbusMessagePtr _AwaitReply(DBusMessage *msg, int iTimeout, CDbusError &error);
    bool _Send(DBusMessage *msg);

    DBusConnection *m_dbusConn = nullptr; // null until Init has reached the bus
    CMutex m_Mutex;                       // the table, and each outgoing message for its whole length
    std::vector<DBUS_SERVICES> m_VcDbusServices;
};

// The debug commands: one D-Bus method through which an operator lists the commands,
// prints the counters, switches the dump of the capture thread and records audio.
//
//   bus name   org.FpgaMng.server (claimed by CDbusHandler::Init)
//   object     /org/FpgaMng/object
//   interface  org.FpgaMng.interface
//   method     audio_dbus_method_FpgaMngDebug(string command) -> string
//
// A command is its name and its arguments joined by "_". The reply tells only whether
// there was a command; what a command has to say goes to the log. Init and CleanUp run on
// the main thread, all else on the D-Bus handler's thread.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "common/Singleton.h"

class DbusMsgMng : public Singleton<DbusMsgMng> {
    friend class Singleton<DbusMsgMng>;

  public:
    // Registers the method with CDbusHandler. Always 1.
    int Init();

    // Asks CDbusHandler to remove it, whose rule keeps it. Always 1.
    int CleanUp();

    // Handler of the method: runs the command on the one instance. At exit it waits for
    // a running command, and later ones are not run.
    static const std::string _FpgaDebugFun(const std::string &strValue);

    // Runs one command text. {"res":0}, also for a command that is unknown or failed, or
    // {"res":-1} for an empty text. A number that does not parse throws as std::stoi does,
    // which nothing catches.
    const std::string _FpgaDebug(const std::string &pstValue);

    // The commands, given the tokens behind the command's name. Always true.

    // Logs the commands and their descriptions, in no particular order.
    bool _DebugHelp(const std::vector<std::string> &vStrParam);

    // Logs the state of the stream buffers, then of the network and of the PCM bridge.
    bool _PrintNodeInfo(const std::vector<std::string> &vStrParam);

    // Records both PCM streams: 10 seconds, or the first of at least two arguments, cut
    // to 16 bits.
    bool _SaveAudio(const std::vector<std::string> &vStrParam);

    // Switches the dump off, or, given at least two arguments, on unless the first is 0.
    bool _PrintSwitch(const std::vector<std::string> &vStrParam);

  private:
    typedef bool (DbusMsgMng::*pFunc_t)(const std::vector<std::string> &vStrParam);

    struct _DebugCmd_t {
        pFunc_t m_function;
        std::string m_strDescribe;
    };

    DbusMsgMng() = default;
    virtual ~DbusMsgMng();

    static const std::unordered_map<std::string, _DebugCmd_t> m_MapCmdFunc;
};

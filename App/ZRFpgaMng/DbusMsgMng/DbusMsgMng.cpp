#include "ZRFpgaMng/DbusMsgMng/DbusMsgMng.h"

#include <cstdint>
#include <cstdio>

#include "BSW/BasicFun/StringUtils.h"
#include "BSW/Dbus/DbusHandler.h"
#include "BSW/Log/Log.h"
#include "ZRFpgaMng/AudioNetMng/AudioNet.h"
#include "ZRFpgaMng/AudioPcmMng/AudioPcm.h"
#include "ZRFpgaMng/ZRBuffer/ZRBuffer.h"

namespace {

constexpr char OBJECT[] = "/org/FpgaMng/object";
constexpr char INTERFACE[] = "org.FpgaMng.interface";
constexpr char METHOD[] = "audio_dbus_method_FpgaMngDebug";

constexpr char REPLY_OK[] = "{\"res\":0}";
constexpr char REPLY_FAILED[] = "{\"res\":-1}";

constexpr int RECORD_SECONDS = 10;

CMutex commandMutex(""); // held by a running command, and while the object goes
bool objectGone = false;

// The number in the first argument, which counts only when a second one follows.
int FirstNumber(const std::vector<std::string> &vStrParam, int otherwise) {
    return vStrParam.size() < 2 ? otherwise : std::stoi(vStrParam[0], nullptr, 10);
}

} // namespace

const std::unordered_map<std::string, DbusMsgMng::_DebugCmd_t> DbusMsgMng::m_MapCmdFunc = {
    {"help", {&DbusMsgMng::_DebugHelp, "Support cmd list"}},
    {"NodeInfo", {&DbusMsgMng::_PrintNodeInfo, "Print modules node Send&Recv count"}},
    {"PrintSwitch", {&DbusMsgMng::_PrintSwitch, "fpga pcm debug print switch(1 or 0)"}},
    {"SaveAudio", {&DbusMsgMng::_SaveAudio, "Record pcm audio stream to file"}},
};

// At exit the modules that commands use go right after this object, under the handler's
// running thread.
DbusMsgMng::~DbusMsgMng() {
    CGuard guard(commandMutex);
    objectGone = true;
}

int DbusMsgMng::Init() {
    CDbusHandler::instance()->RegisteredServices(OBJECT, INTERFACE, METHOD, _FpgaDebugFun, false);
    return 1;
}

int DbusMsgMng::CleanUp() {
    CDbusHandler::instance()->UnRegisteredServices(OBJECT, INTERFACE, METHOD); // keeps the method of this name
    return 1;
}

const std::string DbusMsgMng::_FpgaDebugFun(const std::string &strValue) {
    CGuard guard(commandMutex);
    return objectGone ? REPLY_FAILED : instance()->_FpgaDebug(strValue);
}

const std::string DbusMsgMng::_FpgaDebug(const std::string &pstValue) {
    const std::vector<std::string> vParam = StringUtils::splitString(pstValue, "_");
    if (vParam.empty()) {
        LOG_ERR("strCommand is empty");
        return REPLY_FAILED;
    }
    const std::string &strCommand = vParam[0];
    const std::vector<std::string> vStrParam(vParam.begin() + 1, vParam.end());
    const auto row = m_MapCmdFunc.find(strCommand);
    if (row != m_MapCmdFunc.end()) {
        (this->*row->second.m_function)(vStrParam);
    } else {
        LOG_ERR("cmd: %s not support", strCommand.c_str());
        _DebugHelp(vStrParam);
    }
    return REPLY_OK;
}

bool DbusMsgMng::_DebugHelp(const std::vector<std::string> &) {
    std::string text = "support cmd list : \n";
    for (const auto &[name, command] : m_MapCmdFunc) {
        char line[512] = {};
        std::snprintf(line, sizeof line, "cmd: %-20s  Usage: %-10s \n", name.c_str(), command.m_strDescribe.c_str());
        text += line;
    }
    LOG_DBG("%s", text.c_str());
    return true;
}

bool DbusMsgMng::_PrintNodeInfo(const std::vector<std::string> &) {
    CZRBuffer::instance()->printBufferMngInfo();
    AudioNet::instance()->PrintNodeInfo();
    AudioPcm::instance()->PrintNodeInfo();
    return true;
}

bool DbusMsgMng::_SaveAudio(const std::vector<std::string> &vStrParam) {
    AudioPcm::instance()->SaveAudioToFile(static_cast<uint16_t>(FirstNumber(vStrParam, RECORD_SECONDS)));
    return true;
}

bool DbusMsgMng::_PrintSwitch(const std::vector<std::string> &vStrParam) {
    AudioPcm::instance()->PrintSwitch(FirstNumber(vStrParam, 0) != 0);
    return true;
}

// One run on a desk: private bus, stand-in card, peer and service, audio both ways for a
// while, and the report. Main thread.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "CardConfig.h"
#include "CardControl.h"
#include "Desk/DeskCaller.h"
#include "Desk/DeskChild.h"
#include "Desk/DeskFolder.h"
#include "Desk/DeskMemory.h"
#include "Desk/DeskOperator.h"
#include "Desk/DeskProgress.h"
#include "Desk/DeskReport.h"
#include "Desk/DeskSignal.h"
#include "Desk/PlaybackCheck.h"
#include "Desk/PrivateBus.h"
#include "Desk/ProcessUsage.h"
#include "Desk/SoundRecorder.h"

struct DeskOptions {
    double seconds = 10; // of audio
    bool forever = false;
    double speed = 1;          // of the card's clock, times real time
    std::string out;           // folder for sound and logs, made by the run
    bool record = false;       // records both streams meanwhile and tells their levels
    double callsPerSecond = 0; // debug commands sent meanwhile
    std::string servicePath;   // the service's program
    std::string ctlPath;       // the operator's tool
    std::string ownPath;       // this program, started again as the peer
};

class DeskRun {
  public:
    explicit DeskRun(DeskOptions options);

    // Does it all, ends whatever it started, and returns the exit status: 0 when every
    // period arrived in order and bit for bit, 130 when it was stopped before its time and
    // nothing was wrong until then, else 1.
    int Run();

  private:
    // The steps; false, with m_error or a wish to stop, ends the run.
    bool _Prepare();
    bool _PrepareCard();
    bool _StartPeer();
    bool _StartService();
    bool _WarmUp();
    bool _OpenWindows();
    void _StartOperator();
    void _Measure();
    void _Drain();
    void _AskService();
    void _StopAll();
    int _Conclude();

    bool _WaitFor(const char *what, int timeoutMs, const std::function<bool()> &condition);
    bool _Failed(const std::string &error);
    bool _AllRunning();
    void _CloseWindowsNow();
    void _KeepLogs() const;
    uint64_t _CapturedFrame() const;
    int _Scaled(int milliseconds) const;
    DeskFigures _Figures(bool final) const;

    DeskOptions m_options;
    std::string m_error;
    DeskProgress m_progress;
    DeskFolder m_folder;
    DeskMemory m_memory;
    CardConfig m_config;
    CardControl m_card;
    DeskSignal m_sent;
    SoundRecorder m_recorder;
    PrivateBus m_bus;
    DeskChild m_peer{"the peer"};
    DeskChild m_service{"the service"};
    std::unique_ptr<PlaybackCheck> m_check;
    std::unique_ptr<DeskOperator> m_operator;
    std::unique_ptr<DeskCaller> m_caller; // null when none is wanted
    std::string m_answers;                // of the service, for the report

    std::string m_configPath;
    ProcessUsage m_usageBefore;
    uint64_t m_xrunsBefore[CARD_SIDES] = {};
    bool m_interrupted = false;
    DeskFigures m_final;
};

// One open PCM of the card: settings, control file, source or sink, stream and timer,
// as the ALSA plugin holds them. Made and destroyed by the thread that opens and closes
// the PCM.
#pragma once

#include <memory>

#include <alsa/asoundlib.h>

#include "CardControl.h"
#include "CardSettings.h"
#include "CardSink.h"
#include "CardSource.h"
#include "CardStream.h"

class CardPcm {
  public:
    CardPcm() = default;
    ~CardPcm();
    CardPcm(const CardPcm &) = delete;
    CardPcm &operator=(const CardPcm &) = delete;

    // Opens one side. 0; -ENODEV for another card or device, and while the card is missing;
    // -EBUSY while it is busy or the side is open already; the error of settings or files.
    int Open(snd_config_t *conf, CardSide side);

    const CardSettings &Settings() const { return m_settings; }
    CardStream &Stream() { return *m_stream; }

    // Timer that becomes readable at the next period boundary. Rearm also clears it.
    int TimerFd() const { return m_timerFd; }
    void Rearm();

  private:
    int _Attach(CardSide side);
    int _MakeStream(CardSide side);

    CardSettings m_settings;
    CardControl m_control;
    CardSource m_source;
    CardSink m_sink;
    std::unique_ptr<CardStream> m_stream;
    int m_timerFd = -1;
};

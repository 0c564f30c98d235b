#include "CardPcm.h"

#include <cerrno>

#include <sys/timerfd.h>
#include <unistd.h>

#include "CaptureStream.h"
#include "PlaybackStream.h"

CardPcm::~CardPcm() {
    if (m_timerFd >= 0)
        close(m_timerFd);
}

int CardPcm::Open(snd_config_t *conf, CardSide side) {
    if (const int result = m_settings.Read(conf); result < 0)
        return result;
    if (!m_settings.IsThisCard())
        return -ENODEV;
    if (const int result = _Attach(side); result < 0)
        return result;
    m_timerFd = timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
    return m_timerFd < 0 ? -errno : _MakeStream(side);
}

int CardPcm::_Attach(CardSide side) {
    if (!m_control.Open(m_settings.control)) {
        SNDERR("stand-in card: no control file %s", m_settings.control.c_str());
        return -ENODEV;
    }
    switch (static_cast<CardPresence>(m_control.Shared()->presence.load(std::memory_order_acquire))) {
    case CardPresence::Missing:
        return -ENODEV;
    case CardPresence::Busy:
        return -EBUSY;
    default:
        return m_control.Claim(side) ? 0 : -EBUSY;
    }
}

int CardPcm::_MakeStream(CardSide side) {
    if (side == CardSide::Capture) {
        m_stream = std::make_unique<CaptureStream>(*m_control.Shared(), m_source);
        return m_source.Open(m_settings);
    }
    m_stream = std::make_unique<PlaybackStream>(*m_control.Shared(), m_sink);
    return m_sink.Open(m_settings);
}

void CardPcm::Rearm() {
    const uint64_t moment = m_stream->NextWakeNs();
    itimerspec timer = {};
    timer.it_value.tv_sec = static_cast<time_t>(moment / 1000000000u);
    timer.it_value.tv_nsec = static_cast<long>(moment % 1000000000u);
    timerfd_settime(m_timerFd, TFD_TIMER_ABSTIME, &timer, nullptr);
}

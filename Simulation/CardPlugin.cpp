// The stand-in card as an ALSA PCM plugin of the type "zrcard": translates the calls of
// libasound's external I/O plugin layer. The calls of one PCM come from the thread that
// uses it, under libasound's lock.
#include <cerrno>
#include <memory>
#include <vector>

#include <poll.h>

#include <alsa/asoundlib.h>
#include <alsa/pcm_external.h>

#include "CardPcm.h"

namespace {

struct PluginPcm {
    snd_pcm_ioplug_t io{};
    CardPcm card;
};

CardPcm &CardOf(snd_pcm_ioplug_t *io) {
    return static_cast<PluginPcm *>(io->private_data)->card;
}

CardStream &StreamOf(snd_pcm_ioplug_t *io) {
    return CardOf(io).Stream();
}

bool IsCapture(const snd_pcm_ioplug_t *io) {
    return io->stream == SND_PCM_STREAM_CAPTURE;
}

// Brings the state to DISCONNECTED once the card is gone. True when it is.
bool Disconnect(snd_pcm_ioplug_t *io) {
    if (!StreamOf(io).IsUnplugged())
        return false;
    StreamOf(io).Stop(io->appl_ptr);
    snd_pcm_ioplug_set_state(io, SND_PCM_STATE_DISCONNECTED);
    return true;
}

int OnStart(snd_pcm_ioplug_t *io) {
    StreamOf(io).Start(io->appl_ptr);
    CardOf(io).Rearm();
    return 0;
}

int OnStop(snd_pcm_ioplug_t *io) {
    StreamOf(io).Stop(io->appl_ptr);
    return 0;
}

// Every negative result would read as an xrun, so that a card that is gone gives its last position.
snd_pcm_sframes_t OnPointer(snd_pcm_ioplug_t *io) {
    if (Disconnect(io))
        return static_cast<snd_pcm_sframes_t>(StreamOf(io).LastPosition());
    return StreamOf(io).Pointer(io->appl_ptr);
}

snd_pcm_sframes_t OnTransfer(snd_pcm_ioplug_t *io, const snd_pcm_channel_area_t *areas, snd_pcm_uframes_t offset,
                             snd_pcm_uframes_t size) {
    uint32_t *words = static_cast<uint32_t *>(areas[0].addr) + (areas[0].first + areas[0].step * offset) / 32;
    return StreamOf(io).Transfer(io->appl_ptr, words, size);
}

int OnClose(snd_pcm_ioplug_t *io) {
    StreamOf(io).Stop(io->appl_ptr);
    delete static_cast<PluginPcm *>(io->private_data);
    return 0;
}

int OnHwParams(snd_pcm_ioplug_t *io, snd_pcm_hw_params_t *) {
    StreamOf(io).Configure(io->buffer_size);
    return 0;
}

int OnSwParams(snd_pcm_ioplug_t *io, snd_pcm_sw_params_t *params) {
    snd_pcm_uframes_t stopThreshold = 0, availMin = 0;
    snd_pcm_sw_params_get_stop_threshold(params, &stopThreshold);
    snd_pcm_sw_params_get_avail_min(params, &availMin);
    StreamOf(io).SetThresholds(stopThreshold, availMin);
    return 0;
}

int OnPrepare(snd_pcm_ioplug_t *io) {
    StreamOf(io).Stop(io->appl_ptr);
    StreamOf(io).Prepare();
    CardOf(io).Rearm();
    return 0;
}

// Plays out what was written. A clock that stands still ends it with -EIO.
int OnDrain(snd_pcm_ioplug_t *io) {
    CardStream &stream = StreamOf(io);
    if (IsCapture(io) || io->appl_ptr == 0)
        return 0;
    if (!stream.IsRunning())
        OnStart(io);
    stream.SetDraining();
    for (;;) {
        const CardStream::Wait wait = stream.CheckDrained(io->appl_ptr);
        if (wait == CardStream::Wait::Go || Disconnect(io))
            return 0;
        if (wait == CardStream::Wait::TimedOut)
            return -EIO;
        if (io->nonblock)
            return -EAGAIN;
        CardOf(io).Rearm();
        pollfd timer = {CardOf(io).TimerFd(), POLLIN, 0};
        poll(&timer, 1, -1);
    }
}

int OnPollRevents(snd_pcm_ioplug_t *io, pollfd *, unsigned int, unsigned short *revents) {
    CardOf(io).Rearm();
    const CardStream::Wait wait = Disconnect(io) ? CardStream::Wait::TimedOut : StreamOf(io).Check(io->appl_ptr);
    if (wait == CardStream::Wait::Go)
        *revents = IsCapture(io) ? POLLIN : POLLOUT;
    else
        *revents = wait == CardStream::Wait::TimedOut ? POLLERR : 0;
    return 0;
}

snd_pcm_ioplug_callback_t Callbacks() {
    snd_pcm_ioplug_callback_t callbacks{};
    callbacks.start = OnStart;
    callbacks.stop = OnStop;
    callbacks.pointer = OnPointer;
    callbacks.transfer = OnTransfer;
    callbacks.close = OnClose;
    callbacks.hw_params = OnHwParams;
    callbacks.sw_params = OnSwParams;
    callbacks.prepare = OnPrepare;
    callbacks.drain = OnDrain;
    callbacks.poll_revents = OnPollRevents;
    return callbacks;
}

int SetOne(snd_pcm_ioplug_t *io, int type, unsigned int value) {
    return snd_pcm_ioplug_set_param_list(io, type, 1, &value);
}

// What the card can do, and nothing else.
int Constrain(snd_pcm_ioplug_t *io, const CardSettings &settings) {
    std::vector<unsigned int> buffers;
    for (uint32_t periods = settings.minPeriods; periods <= settings.maxPeriods; periods++)
        buffers.push_back(periods * CARD_PERIOD_BYTES);
    const int results[] = {
        SetOne(io, SND_PCM_IOPLUG_HW_ACCESS, SND_PCM_ACCESS_RW_INTERLEAVED),
        SetOne(io, SND_PCM_IOPLUG_HW_FORMAT, SND_PCM_FORMAT_S32_LE),
        SetOne(io, SND_PCM_IOPLUG_HW_CHANNELS, CARD_CHANNELS),
        SetOne(io, SND_PCM_IOPLUG_HW_RATE, CARD_RATE),
        SetOne(io, SND_PCM_IOPLUG_HW_PERIOD_BYTES, CARD_PERIOD_BYTES),
        snd_pcm_ioplug_set_param_list(io, SND_PCM_IOPLUG_HW_BUFFER_BYTES, static_cast<unsigned int>(buffers.size()),
                                      buffers.data()),
        snd_pcm_ioplug_set_param_minmax(io, SND_PCM_IOPLUG_HW_PERIODS, settings.minPeriods, settings.maxPeriods),
    };
    for (const int result : results)
        if (result < 0)
            return result;
    return 0;
}

// Hands the PCM to libasound, which owns it from then on, also when constraining fails.
int Create(std::unique_ptr<PluginPcm> pcm, const char *name, snd_pcm_stream_t stream, int mode) {
    static const snd_pcm_ioplug_callback_t callbacks = Callbacks();
    snd_pcm_ioplug_t *io = &pcm->io;
    io->version = SND_PCM_IOPLUG_VERSION;
    io->name = "Stand-in card";
    io->flags = SND_PCM_IOPLUG_FLAG_MONOTONIC | SND_PCM_IOPLUG_FLAG_BOUNDARY_WA;
    io->poll_fd = pcm->card.TimerFd();
    io->poll_events = POLLIN;
    io->callback = &callbacks;
    io->private_data = pcm.get();
    const int created = snd_pcm_ioplug_create(io, name, stream, mode);
    if (created < 0)
        return created;
    const CardSettings &settings = pcm.release()->card.Settings();
    const int result = Constrain(io, settings);
    if (result < 0)
        snd_pcm_ioplug_delete(io);
    return result;
}

} // namespace

extern "C" {

SND_PCM_PLUGIN_DEFINE_FUNC(zrcard) {
    (void)root;
    auto pcm = std::make_unique<PluginPcm>();
    const CardSide side = stream == SND_PCM_STREAM_CAPTURE ? CardSide::Capture : CardSide::Playback;
    int result = pcm->card.Open(conf, side);
    if (result < 0)
        return result;
    snd_pcm_ioplug_t *io = &pcm->io;
    result = Create(std::move(pcm), name, stream, mode);
    if (result == 0)
        *pcmp = io->pcm;
    return result;
}

SND_PCM_PLUGIN_SYMBOL(zrcard)
}

// The least that could move the same audio: one thread reads the card and sends, one
// receives and writes, with nothing in between. No conversion, no buffers, no checks,
// no log. The floor that the service's CPU time is held against.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <thread>

#include <alsa/asoundlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr snd_pcm_uframes_t PERIOD_FRAMES = 32;
constexpr unsigned CHANNELS = 24;
constexpr unsigned RATE = 16000;
constexpr unsigned BUFFER_US = 12000;
constexpr std::size_t MESSAGE_BYTES = 1547;

using Period = std::array<uint8_t, PERIOD_FRAMES * CHANNELS * 4>;

snd_pcm_t *OpenCard(snd_pcm_stream_t stream) {
    snd_pcm_t *pcm = nullptr;
    if (snd_pcm_open(&pcm, "hw:0,0", stream, 0) < 0 ||
        snd_pcm_set_params(pcm, SND_PCM_FORMAT_S32_LE, SND_PCM_ACCESS_RW_INTERLEAVED, CHANNELS, RATE, 0, BUFFER_US) < 0)
        return nullptr;
    return pcm;
}

sockaddr_un AddressOf(const char *path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof(address.sun_path), "%s", path);
    return address;
}

void CaptureAndSend(snd_pcm_t *pcm) {
    const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
    const sockaddr_un peer = AddressOf("/tmp/AudioStream_Fpga_to_Arm");
    Period period{};
    for (;;) {
        const snd_pcm_sframes_t frames = snd_pcm_readi(pcm, period.data(), PERIOD_FRAMES);
        if (frames < 0)
            snd_pcm_prepare(pcm);
        sendto(fd, period.data(), MESSAGE_BYTES, 0, reinterpret_cast<const sockaddr *>(&peer), sizeof(peer));
    }
}

void ReceiveAndPlay(snd_pcm_t *pcm) {
    const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
    const sockaddr_un own = AddressOf("/tmp/AudioStream_Arm_to_Fpga");
    unlink(own.sun_path);
    if (bind(fd, reinterpret_cast<const sockaddr *>(&own), sizeof(own)) < 0)
        return;
    Period period{};
    for (;;) {
        recv(fd, period.data(), MESSAGE_BYTES, 0);
        if (snd_pcm_writei(pcm, period.data(), PERIOD_FRAMES) < 0)
            snd_pcm_prepare(pcm);
    }
}

} // namespace

int main() {
    snd_pcm_t *capture = OpenCard(SND_PCM_STREAM_CAPTURE);
    snd_pcm_t *playback = OpenCard(SND_PCM_STREAM_PLAYBACK);
    if (!capture || !playback) {
        std::fputs("cannot open hw:0,0\n", stderr);
        return 1;
    }
    std::thread sender(CaptureAndSend, capture);
    ReceiveAndPlay(playback);
    sender.join();
    return 1;
}

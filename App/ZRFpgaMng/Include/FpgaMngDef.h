// Directions, endpoints and audio figures that every application module shares.
#pragma once

// Direction of a stream; indexes the stream buffer channels and every per-direction table.
typedef enum _emDirect {
    DIRECT_IN = 0,  // card towards the peers
    DIRECT_OUT = 1, // peers towards the card
    DIRECT_MAX = 2,
} emDirect;
typedef emDirect Direct;

// Where audio enters and leaves the service.
typedef enum _emAudioChn {
    AUDIOCHN_MIN = 0,
    AUDIOCHN_PCM = 0,
    AUDIOCHN_NET = 1,
    AUDIOCHN_MAX = 2,
} emAudioChn;

constexpr int AUDIO_CHANNELS = 24;
constexpr int AUDIO_SAMPLE_RATE = 16000;    // Hz
constexpr int AUDIO_PERIOD_TIME_US = 2000;  // one period
constexpr int AUDIO_PERIOD_FRAMES = 32;     // frames, that is samples per channel, in one period
constexpr int AUDIO_PERIODS_PER_BUFFER = 6; // periods of the ALSA buffer
constexpr int AUDIO_CARD_PERIOD_BYTES = AUDIO_PERIOD_FRAMES * AUDIO_CHANNELS * 4; // tagged 32-bit words
constexpr int AUDIO_PAYLOAD_BYTES = AUDIO_PERIOD_FRAMES * AUDIO_CHANNELS * 2;     // planar 16-bit samples

// A card that refuses one step of the set-up: the line and the result of each step on each
// side. No real card refuses every step, so the calls into ALSA are diverted (--wrap) and
// fail on request; otherwise they do their real work.
#include <cerrno>
#include <ostream>
#include <string_view>

#include <gmock/gmock.h>

#include "AlsaFixture.h"

namespace {

std::string_view refusedFunction;
int callsGranted = 0; // before the refusal

bool Refuses(std::string_view function) {
    return function == refusedFunction && callsGranted-- == 0;
}

} // namespace

// Diverts `function`; the refusal is -EIO.
#define REFUSABLE(function, parameters, arguments)                                                                     \
    extern "C" int __real_##function parameters;                                                                       \
    extern "C" int __wrap_##function parameters {                                                                      \
        return Refuses(#function) ? -EIO : __real_##function arguments;                                                \
    }

using Hw = snd_pcm_hw_params_t;
using Sw = snd_pcm_sw_params_t;

REFUSABLE(snd_pcm_hw_params_any, (snd_pcm_t * pcm, Hw *params), (pcm, params))
REFUSABLE(snd_pcm_hw_params_set_access, (snd_pcm_t * pcm, Hw *params, snd_pcm_access_t access), (pcm, params, access))
REFUSABLE(snd_pcm_hw_params_set_format, (snd_pcm_t * pcm, Hw *params, snd_pcm_format_t format), (pcm, params, format))
REFUSABLE(snd_pcm_hw_params_set_channels, (snd_pcm_t * pcm, Hw *params, unsigned channels), (pcm, params, channels))
REFUSABLE(snd_pcm_hw_params_set_rate_near, (snd_pcm_t * pcm, Hw *params, unsigned *rate, int *dir),
          (pcm, params, rate, dir))
REFUSABLE(snd_pcm_hw_params_set_period_time_near, (snd_pcm_t * pcm, Hw *params, unsigned *time, int *dir),
          (pcm, params, time, dir))
REFUSABLE(snd_pcm_hw_params_set_buffer_time_near, (snd_pcm_t * pcm, Hw *params, unsigned *time, int *dir),
          (pcm, params, time, dir))
REFUSABLE(snd_pcm_hw_params, (snd_pcm_t * pcm, Hw *params), (pcm, params))
REFUSABLE(snd_pcm_hw_params_get_buffer_time_max, (const Hw *params, unsigned *time, int *dir), (params, time, dir))
REFUSABLE(snd_pcm_hw_params_get_buffer_time_min, (const Hw *params, unsigned *time, int *dir), (params, time, dir))
REFUSABLE(snd_pcm_sw_params_set_avail_min, (snd_pcm_t * pcm, Sw *params, snd_pcm_uframes_t frames),
          (pcm, params, frames))
REFUSABLE(snd_pcm_sw_params_set_start_threshold, (snd_pcm_t * pcm, Sw *params, snd_pcm_uframes_t frames),
          (pcm, params, frames))
REFUSABLE(snd_pcm_sw_params_set_stop_threshold, (snd_pcm_t * pcm, Sw *params, snd_pcm_uframes_t frames),
          (pcm, params, frames))
REFUSABLE(snd_pcm_sw_params, (snd_pcm_t * pcm, Sw *params), (pcm, params))

namespace {

struct Refusal {
    const char *function;
    int callsGranted;
    const char *text;
    const char *setup; // the side's set-up, as its own line has it
    int result;
};

void PrintTo(const Refusal &refusal, std::ostream *stream) {
    *stream << refusal.function;
}

// Capture comes first and passes the error of ALSA on.
Refusal Capture(const char *function, const char *text) {
    return {function, 0, text, "_SetCaptureParams", -EIO};
}

// Playback returns -1 whatever the error.
Refusal Playback(const char *function, const char *text, int granted = 1) {
    return {function, granted, text, "_SetPlayParams", -1};
}

constexpr char ANY_TEXT[] = "Broken configuration for this PCM: no configurations available";
constexpr char ACCESS_TEXT[] = "Access type not available";
constexpr char FORMAT_TEXT[] = "Sample format non available";
constexpr char CHANNELS_TEXT[] = "Channels count non available";
constexpr char RATE_TEXT[] = "Channels rate non available";
constexpr char TIME_TEXT[] = "snd_pcm_hw_params_set_period_time_near error!"; // for the buffer time, too
constexpr char MAX_TEXT[] = "snd_pcm_hw_params_get_buffer_time_max error!";
constexpr char MIN_TEXT[] = "snd_pcm_hw_params_get_buffer_time_min error!";

const Refusal REFUSALS[] = {
    Capture("snd_pcm_hw_params_any", ANY_TEXT),
    Playback("snd_pcm_hw_params_any", ANY_TEXT),
    Capture("snd_pcm_hw_params_set_access", ACCESS_TEXT),
    Playback("snd_pcm_hw_params_set_access", ACCESS_TEXT),
    Capture("snd_pcm_hw_params_set_format", FORMAT_TEXT),
    Playback("snd_pcm_hw_params_set_format", FORMAT_TEXT),
    Capture("snd_pcm_hw_params_set_channels", CHANNELS_TEXT),
    Playback("snd_pcm_hw_params_set_channels", CHANNELS_TEXT),
    Capture("snd_pcm_hw_params_set_rate_near", RATE_TEXT),
    Playback("snd_pcm_hw_params_set_rate_near", RATE_TEXT),
    Capture("snd_pcm_hw_params_set_period_time_near", TIME_TEXT),
    Playback("snd_pcm_hw_params_set_period_time_near", TIME_TEXT),
    Capture("snd_pcm_hw_params_set_buffer_time_near", TIME_TEXT),
    Playback("snd_pcm_hw_params_set_buffer_time_near", TIME_TEXT),
    Capture("snd_pcm_hw_params", "Unable to install hw params"),
    Playback("snd_pcm_hw_params", "Unable to install hw params:"),
    Capture("snd_pcm_hw_params_get_buffer_time_max", MAX_TEXT),
    Playback("snd_pcm_hw_params_get_buffer_time_max", MAX_TEXT),
    Capture("snd_pcm_hw_params_get_buffer_time_min", MIN_TEXT),
    Playback("snd_pcm_hw_params_get_buffer_time_min", MIN_TEXT),
    Playback("snd_pcm_sw_params_set_start_threshold", "Unable to set sw_params start_threshold", 0),
    Playback("snd_pcm_sw_params_set_stop_threshold", "Unable to set sw_params stop_threshold", 0),
    Playback("snd_pcm_sw_params", "unable to install sw params:", 0),
};

class AlsaRefusal : public AlsaTest, public testing::WithParamInterface<Refusal> {};

TEST_P(AlsaRefusal, HasItsOwnLineAndResult) {
    refusedFunction = GetParam().function;
    callsGranted = GetParam().callsGranted;
    UseCard();
    EXPECT_EQ(Make().Init(6, 6), GetParam().result);
    const Texts texts = log.Texts();
    ASSERT_GE(texts.size(), 2u);
    EXPECT_EQ(texts[texts.size() - 2], std::string("I ") + GetParam().text);
    EXPECT_EQ(texts.back(), std::string("I ") + GetParam().setup + " ERROR!");
}

INSTANTIATE_TEST_SUITE_P(Steps, AlsaRefusal, testing::ValuesIn(REFUSALS),
                         [](const auto &test) { return std::string(test.param.function) + test.param.setup; });

class AlsaIgnored : public AlsaTest {};

TEST_F(AlsaIgnored, ARefusedAvailMinIsNotNoticed) {
    refusedFunction = "snd_pcm_sw_params_set_avail_min";
    UseCard();
    EXPECT_EQ(Make().Init(6, 6), 0);
    EXPECT_EQ(callsGranted, -1) << "the step was not taken";
    EXPECT_EQ(log.Texts().back(), "I card:hw:0,0, AlsaSound Init <<playback>> Success");
}

} // namespace

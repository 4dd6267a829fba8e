#include "output/LPortAudio.h"

#include <alsa/asoundlib.h>
#include <jack/jack.h>
#include <portaudio.h>

#include <cstdlib>

namespace {

void _QuietAlsa(const char*, int, const char*, int, const char*, ...) {}
void _QuietJack(const char*) {}

// Terminated when the process ends, after every stream owner has gone.
class LPortAudioSession {
public:
    LPortAudioSession()
    {
        // Probing must not start a sound server nor flood stderr with its refusals.
        setenv("JACK_NO_START_SERVER", "1", 1);
        snd_lib_error_set_handler(&_QuietAlsa);
        jack_set_error_function(&_QuietJack);
        jack_set_info_function(&_QuietJack);
        _ready = Pa_Initialize() == paNoError;
    }
    ~LPortAudioSession()
    {
        if (_ready)
            Pa_Terminate();
    }
    LPortAudioSession(const LPortAudioSession&) = delete;
    LPortAudioSession& operator=(const LPortAudioSession&) = delete;

    bool IsReady() const { return _ready; }

private:
    bool _ready = false;
};

}  // namespace

bool LPortAudioReady()
{
    static LPortAudioSession session;
    return session.IsReady();
}

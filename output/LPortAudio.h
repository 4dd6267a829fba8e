#pragma once

// PortAudio for the rest of the process, started on first use with the ALSA and JACK message
// handlers silenced and without starting a JACK server. False when it could not start; the
// device list then holds only the virtual devices.
bool LPortAudioReady();

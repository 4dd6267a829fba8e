#include "output/LOutputStream.h"

#include "output/LPortAudioStream.h"
#include "output/LSoundPlayDevice.h"
#include "output/LVirtualOutputStream.h"
#include "sound/LWaveFile.h"

namespace {

constexpr unsigned short kCaptureBits = 32;

std::unique_ptr<LOutputStream> _OpenCapture(const LOutputFormat& format, LRenderClient& client, std::string& error)
{
    const LCaptureSetting setting = LCaptureSetting::FromEnvironment();
    if (setting.path.empty()) {
        error = "no capture file set (ORVANE_AUDIO_CAPTURE)";
        return nullptr;
    }
    LSoundSink sink = LWaveFile::OpenSinkPCM(setting.path.c_str(), format.rate,
                                             static_cast<unsigned char>(format.channels), kCaptureBits, 0);
    if (sink->GetError() & kSinkErrorFlag) {
        error = "cannot write the capture file " + setting.path;
        return nullptr;
    }
    return std::make_unique<LVirtualOutputStream>(format, client, sink, setting.fast);
}

}  // namespace

std::unique_ptr<LOutputStream> LOpenOutputStream(long deviceId, const LOutputFormat& format,
                                                 LRenderClient& client, std::string& error)
{
    const bool isVirtual = deviceId == kDeviceIdNull || deviceId == kDeviceIdCapture;
    if (isVirtual && (format.channels < 1 || format.channels > kVirtualDeviceChannels)) {
        error = "the device has no output channel " + std::to_string(format.channels);
        return nullptr;
    }
    if (deviceId == kDeviceIdNull)
        return std::make_unique<LVirtualOutputStream>(format, client, LSoundSink(), false);
    if (deviceId == kDeviceIdCapture)
        return _OpenCapture(format, client, error);
    if (deviceId < 0) {
        error = "no such output device";
        return nullptr;
    }
    return LPortAudioStream::Open(static_cast<PaDeviceIndex>(deviceId), format, client, error);
}

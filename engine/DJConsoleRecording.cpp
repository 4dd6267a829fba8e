// Recording of the main output: a tap in the main player's chain writes every block the player
// pulls, and a resync moves the file back by what will be played again.

#include "engine/DJConsole.h"

#include "base/LFile.h"
#include "engine/DJSettingsAccess.h"
#include "engine/LOrvaneSourceTap.h"
#include "sound/LPeakLimit.h"
#include "sound/LWaveFile.h"

#include <cstdio>
#include <ctime>

namespace {

constexpr char kRecordingTitle[] = "Recording File";
constexpr char kRecordingFailure[] = "Can not create recording file: %s";
constexpr char kDefaultRecordingName[] = "Recording";
constexpr int kRecordBits = 16;
constexpr int kRecordChannels = 2;
constexpr int kRecordAverageBytes = 88200;  // per second; the sink computes its own
constexpr int kSecondaryLeft = 2, kSecondaryRight = 3;

LSoundSource _Limited(LSoundSource source)
{
    return source->GetPeak() > kPeakLimit ? LSPPeakLimit(kPeakLimit).OpenSource(source) : source;
}

// "date time" of now, in characters every file system takes.
std::string _DateTimeName()
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char date[32], time[32], name[80];
    std::strftime(date, sizeof date, "%Y-%m-%d", &local);
    std::strftime(time, sizeof time, "%H.%M.%S", &local);
    std::snprintf(name, sizeof name, "%s %s", date, time);
    return name;
}

}  // namespace

std::string DJConsole::_RecordingPath() const
{
    if (!_recordingPath.empty())
        return _recordingPath;
    std::string folder = DJSettingString("DefaultRecordFolder");
    if (folder.empty()) {
        char dest[LFile::kPathBytes] = {};
        LFile::GetUserDataFolderAppSubFolder(LFile::kRecordingFolder, dest);
        folder = dest;
    }
    std::string name = DJSettingBool("AutoRecordFileName", false) ? _DateTimeName()
                                                                   : DJSettingString("RecordingFileName", kDefaultRecordingName);
    if (name.empty())
        name = kDefaultRecordingName;
    return folder + "/" + name + ".wav";
}

void DJConsole::_FailRecording(const std::string& path)
{
    _recordSink.Close();
    if (!_notify)
        return;
    char text[LFile::kPathBytes + sizeof kRecordingFailure];
    std::snprintf(text, sizeof text, kRecordingFailure, path.c_str());
    _notify->djcntfShowMessage(text, kRecordingTitle);
    _notify->djcntfStopRecording();
}

bool DJConsole::_OpenRecording(LSoundSource& mix)
{
    const std::string path = _RecordingPath();
    if (_recordingPath.empty() && path.size() > LFile::kMaxPathChars) {
        _FailRecording(path);
        return false;
    }
    LWaveFileFormat format;
    format.wFormatTag = kWaveTagPCM;
    format.nChannels = kRecordChannels;
    format.nSamplesPerSec = static_cast<uint32_t>(_mixer.GetRate());
    format.wBitsPerSample = kRecordBits;
    format.nBlockAlign = 2;
    format.nAvgBytesPerSec = kRecordAverageBytes;
    _recordSink = LWaveFile::OpenSink(path.c_str(), format);
    if (_recordSink->GetError() & kSinkErrorFlag) {
        _FailRecording(path);
        return false;
    }
    mix = LSoundSource(new LOrvaneSourceTap(_Limited(mix), &_recordSink));
    return true;
}

void DJConsole::StartRecording()
{
    if (!IsPlayerRunning())
        return;
    LSoundSource mix = _mixer.OpenSource();
    if (_secondInUse)
        mix = LSoundSource(new LSplitterPrimarySource(mix, _splitRing, kSecondaryLeft, kSecondaryRight));
    if (_OpenRecording(mix))
        _SetPlayerSource(_main, mix);
}

void DJConsole::StopRecording()
{
    if (!IsPlayerRunning())
        return;
    LSoundSource mix = _mixer.OpenSource();
    if (_secondInUse) {
        _SetPlayerSource(_second, LSoundSource(new LSplitterSecondarySource(mix, _splitRing)));
        mix = LSoundSource(new LSplitterPrimarySource(mix, _splitRing));
    }
    _SetPlayerSource(_main, mix);
    _recordSink.Close();
}

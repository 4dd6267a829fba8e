#include "output/LSoundPlayDevice.h"

#include "output/LPortAudio.h"

#include <portaudio.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

namespace {

constexpr char kCaptureVariable[] = "ORVANE_AUDIO_CAPTURE";
constexpr char kFastSuffix[] = ":fast";

bool _IsVirtual(long id)
{
    return id == kDeviceIdNull || id == kDeviceIdCapture;
}

}  // namespace

LCaptureSetting LCaptureSetting::FromEnvironment()
{
    LCaptureSetting setting;
    const char* value = std::getenv(kCaptureVariable);
    if (!value || !*value)
        return setting;
    setting.path = value;
    const size_t suffix = sizeof kFastSuffix - 1;
    if (setting.path.size() > suffix && setting.path.compare(setting.path.size() - suffix, suffix, kFastSuffix) == 0) {
        setting.path.resize(setting.path.size() - suffix);
        setting.fast = true;
    }
    return setting;
}

LSoundPlayDeviceList::LSoundPlayDeviceList()
{
    if (LPortAudioReady()) {
        const PaDeviceIndex count = Pa_GetDeviceCount();
        for (PaDeviceIndex i = 0; i < count; ++i) {
            const PaDeviceInfo* info = Pa_GetDeviceInfo(i);
            if (!info || info->maxOutputChannels < 1)
                continue;  // an input-only device
            const PaHostApiInfo* api = Pa_GetHostApiInfo(info->hostApi);
            char name[kDeviceNameBytes];
            std::snprintf(name, sizeof name, "%s: %s", api ? api->name : "?", info->name ? info->name : "");
            _Add(i, name);
        }
    }
    _Add(kDeviceIdNull, kNullDeviceName);
    if (!LCaptureSetting::FromEnvironment().path.empty())
        _Add(kDeviceIdCapture, kCaptureDeviceName);
}

void LSoundPlayDeviceList::_Add(long id, const char* name)
{
    auto node = std::make_unique<Node>();
    node->id = id;
    std::snprintf(node->name, sizeof node->name, "%s", name);
    Node* added = node.get();
    if (_tail)
        _tail->next = std::move(node);
    else
        _head = std::move(node);
    _tail = added;
}

const LSoundPlayDeviceList::Node* LSoundPlayDeviceList::GetAtIndex(int index) const
{
    int row = 0;
    for (const Node* node = _head.get(); node; node = node->next.get()) {
        if (node->name[0] && ++row == index)
            return node;
    }
    return nullptr;
}

int LSoundPlayDeviceList::GetIndexOfName(const char* name) const
{
    int row = 0;
    for (const Node* node = _head.get(); node; node = node->next.get()) {
        if (!node->name[0])
            continue;
        ++row;
        if (strcasecmp(node->name, name) == 0)
            return row;
    }
    return 0;
}

int LSoundPlayDeviceList::GetIndexOfId(long id) const
{
    int row = 0;
    for (const Node* node = _head.get(); node; node = node->next.get()) {
        if (!node->name[0])
            continue;
        ++row;
        if (node->id == id)
            return row;
    }
    return 0;
}

int LSoundPlayDeviceList::GetCount() const
{
    int rows = 0;
    for (const Node* node = _head.get(); node; node = node->next.get())
        rows += node->name[0] ? 1 : 0;
    return rows;
}

long LSoundPlayDevice::GetDefaultDeviceID()
{
    if (!LCaptureSetting::FromEnvironment().path.empty())
        return kDeviceIdCapture;
    if (LPortAudioReady()) {
        const PaDeviceIndex device = Pa_GetDefaultOutputDevice();
        if (device != paNoDevice)
            return device;
    }
    return kDeviceIdNull;
}

int LSoundPlayDevice::GetDeviceIndexById(long id)
{
    return LSoundPlayDeviceList().GetIndexOfId(id);
}

int LSoundPlayDevice::GetListDeviceIndex(const char* name)
{
    if (!name || strcasecmp(name, kDefaultDeviceName) == 0)
        return 0;
    return LSoundPlayDeviceList().GetIndexOfName(name);
}

void LSoundPlayDevice::GetListDeviceName(int index, char* out)
{
    out[0] = '\0';
    if (index == 0) {
        std::snprintf(out, kDeviceNameBytes, "%s", kDefaultDeviceName);
        return;
    }
    LSoundPlayDeviceList list;
    if (const LSoundPlayDeviceList::Node* node = list.GetAtIndex(index))
        std::snprintf(out, kDeviceNameBytes, "%s", node->name);
}

long LSoundPlayDevice::GetListDeviceIDAtIndex(int index)
{
    if (index == 0)
        return GetDefaultDeviceID();
    LSoundPlayDeviceList list;
    const LSoundPlayDeviceList::Node* node = list.GetAtIndex(index);
    return node ? node->id : kDeviceIdNotFound;
}

int LSoundPlayDevice::GetNumOutputChannels() const
{
    const long id = GetListDeviceIDAtIndex(_index);
    if (_IsVirtual(id))
        return kVirtualDeviceChannels;
    if (id < 0 || !LPortAudioReady())
        return 0;
    const PaDeviceInfo* info = Pa_GetDeviceInfo(static_cast<PaDeviceIndex>(id));
    return info ? info->maxOutputChannels : 0;
}

void LSoundPlayDevice::GetOutputChannelList(std::vector<std::string>& names) const
{
    names.clear();
    const int channels = GetNumOutputChannels();
    if (channels == 2) {
        names = {"Left", "Right"};
        return;
    }
    for (int c = 1; c <= channels; ++c)
        names.push_back("Channel " + std::to_string(c));
}

#include "tools/ToolCommands.h"

#include "output/LSoundPlayDevice.h"

#include <cstdio>
#include <string>
#include <vector>

namespace tool {

namespace {

void _PrintDevice(int index, const char* name)
{
    std::vector<std::string> channels;
    LSoundPlayDevice(index).GetOutputChannelList(channels);
    std::string list;
    for (const std::string& channel : channels)
        list += (list.empty() ? "" : ", ") + channel;
    std::printf("%d\t%s\t%s\n", index, name, list.c_str());
}

}  // namespace

int Devices()
{
    _PrintDevice(0, kDefaultDeviceName);
    LSoundPlayDeviceList list;
    for (int row = 1; const LSoundPlayDeviceList::Node* node = list.GetAtIndex(row); ++row)
        _PrintDevice(row, node->name);
    return kExitOk;
}

}  // namespace tool

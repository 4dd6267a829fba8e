#pragma once

#include <memory>
#include <string>
#include <vector>

// Device ids of the list: PortAudio device indices, and these for the devices of our own.
enum LSoundDeviceId : long {
    kDeviceIdNotFound = -1,
    kDeviceIdNull = 0x40000000,     // "[Null Output]": consumes at real-time pace
    kDeviceIdCapture = 0x40000001,  // writes what it is given to the file of ORVANE_AUDIO_CAPTURE
};

inline constexpr char kDefaultDeviceName[] = "[Default Sound Out]";
inline constexpr char kNullDeviceName[] = "[Null Output]";
inline constexpr char kCaptureDeviceName[] = "[Capture Output]";
inline constexpr int kVirtualDeviceChannels = 2;
inline constexpr int kDeviceNameBytes = 260;

// ORVANE_AUDIO_CAPTURE=path.wav[:fast]: where the capture device writes, and whether it runs as
// fast as the player fills instead of at real-time pace.
struct LCaptureSetting {
    std::string path;  // empty: no capture device
    bool fast = false;

    static LCaptureSetting FromEnvironment();
};

// The output devices, built once in the constructor: PortAudio's output devices
// ("host API: device"), then "[Null Output]", then the capture device while it is asked for.
class LSoundPlayDeviceList {
public:
    struct Node {
        std::unique_ptr<Node> next;
        long id = kDeviceIdNotFound;
        char name[kDeviceNameBytes] = {};
    };

    LSoundPlayDeviceList();

    const Node* GetFirst() const { return _head.get(); }
    // Rows count from 1 and pass over nodes without a name; null when there is no such row.
    const Node* GetAtIndex(int index) const;
    // 0 when no row has that name (case-insensitive) or that id.
    int GetIndexOfName(const char* name) const;
    int GetIndexOfId(long id) const;
    int GetCount() const;

private:
    void _Add(long id, const char* name);

    std::unique_ptr<Node> _head;
    Node* _tail = nullptr;
};

// A device by its index in the list: 0 is the system's default output, 1 and up the rows.
class LSoundPlayDevice {
public:
    explicit LSoundPlayDevice(int index = 0) : _index(index) {}

    // The capture device while it is asked for, else PortAudio's default output, else the null
    // device: the program always has somewhere to play.
    static long GetDefaultDeviceID();
    static int GetDeviceIndexById(long id);
    // kDefaultDeviceName gives 0, otherwise the row of that name, 0 if none.
    static int GetListDeviceIndex(const char* name);
    // kDefaultDeviceName for 0, "" for a row that does not exist. `out` holds kDeviceNameBytes.
    static void GetListDeviceName(int index, char* out);
    // 0 gives the default output's id; a row that does not exist kDeviceIdNotFound.
    static long GetListDeviceIDAtIndex(int index);

    int GetIndex() const { return _index; }
    // Output channels of the device, 0 when it is not found.
    int GetNumOutputChannels() const;
    // "Left", "Right" for two channels, else "Channel 1", "Channel 2"...
    void GetOutputChannelList(std::vector<std::string>& names) const;

private:
    int _index;
};

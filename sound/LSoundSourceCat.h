#pragma once

#include "sound/LSoundSource.h"

#include <cstddef>
#include <vector>

// Sources to be played one after another. An entry whose source has an error stands for
// silence of its own length in milliseconds.
class LSoundSourceCat {
public:
    struct Entry {
        LSoundSource source;
        int silenceMs;  // played instead of a source in error
    };

    void AddSource(LSoundSource& source, int silenceMs = 0);
    // Every entry is brought to `rate` and `channels`. The peak is the largest of the healthy
    // entries', at least kPeakLimit.
    LSoundSource OpenSource(int rate, unsigned char channels) const;

private:
    std::vector<Entry> _entries;
};

// The stream of a LSoundSourceCat. Entries are converted when it is made, so that moving to
// the next one on the audio path only swaps handles.
class LSSRCCat : public LSoundSourceBase {
public:
    LSSRCCat(std::vector<LSoundSourceCat::Entry> entries, int rate, unsigned char channels, int peak);

    void Read(int* buffer, int frames) override;
    int GetPositionSample() const override { return _position; }
    int GetEndSample() const override;
    void Seek(int sample) override;
    bool IsStreaming() const override;
    void WaitForStreamingData(int milliseconds) override;

private:
    // Makes the next entry current, or its silence; nothing current when none is left.
    void _Open();
    bool _HasCurrent() const { return _current.Get() != _closed.Get(); }
    // Frames of `frames` delivered from the silence left or the current source.
    int _ReadPart(int* out, int frames);
    int _Length(const LSoundSourceCat::Entry& entry) const;

    std::vector<LSoundSourceCat::Entry> _entries;
    size_t _next = 0;
    int _position = 0;
    int _silenceLeft = 0;  // frames
    LSoundSource _current;
    LSoundSource _closed;  // stands in for "no current source" without allocating
};

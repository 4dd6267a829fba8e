#include "sound/LAudioMixer.h"

#include "sound/LSRCConvChannels.h"

#include <algorithm>

namespace {

bool IsChannel(int channel)
{
    return channel >= 0 && channel < LAudioMixerSource::kMaxChannels;
}

// out[f * outStep] += in[f * inStep], four frames a turn.
void AddStrided(const int* in, int inStep, int* out, int outStep, int frames)
{
    int f = 0;
    for (; f + 4 <= frames; f += 4) {
        out[0] += in[0];
        out[outStep] += in[inStep];
        out[2 * outStep] += in[2 * inStep];
        out[3 * outStep] += in[3 * inStep];
        in += 4 * inStep;
        out += 4 * outStep;
    }
    for (; f < frames; ++f, in += inStep, out += outStep)
        *out += *in;
}

// out[f * outStep] += in[f * inStep] * gain, four frames a turn.
void AddGainStrided(const int* in, int inStep, int* out, int outStep, int frames, int gain)
{
    int f = 0;
    for (; f + 4 <= frames; f += 4) {
        out[0] += LGainMultiply(in[0], gain);
        out[outStep] += LGainMultiply(in[inStep], gain);
        out[2 * outStep] += LGainMultiply(in[2 * inStep], gain);
        out[3 * outStep] += LGainMultiply(in[3 * inStep], gain);
        in += 4 * inStep;
        out += 4 * outStep;
    }
    for (; f < frames; ++f, in += inStep, out += outStep)
        *out += LGainMultiply(*in, gain);
}

// Largest position over the list, or over the sources not held; false with none.
bool TopPosition(const LAudioMixerSource* entry, bool noticedOnly, int& top)
{
    bool found = false;
    for (; entry; entry = entry->next.get()) {
        if (noticedOnly && entry->notYetNoticed)
            continue;
        const int position = entry->source->GetPositionSample();
        top = found ? std::max(top, position) : position;
        found = true;
    }
    return found;
}

}  // namespace

LAudioMixerSource::LAudioMixerSource(const LSoundSource& sound, int sourceId, bool held)
    : id(sourceId), notYetNoticed(held), source(sound)
{
    for (auto& row : volumes)
        for (auto& volume : row)
            volume.store(0, std::memory_order_relaxed);
    std::fill(&designations[0][0], &designations[0][0] + kMaxChannels * kMaxChannels, -1);
}

int LAudioMixerSource::CountDesignations(int sourceChannel) const
{
    const int* list = designations[sourceChannel];
    int count = 0;
    while (count < kMaxChannels && list[count] != -1)
        ++count;
    return count;
}

LAudioMixer::LAudioMixer(bool endAtShortest)
    : _list(std::make_shared<LAudioMixerList>()), _endAtShortest(endAtShortest)
{
}

void LAudioMixer::SetOutputChannels(unsigned char outputChannels)
{
    _outputChannels = outputChannels;
}

LSoundSource LAudioMixer::OpenSource()
{
    return LSoundSource(new LAudioMixerSourceBase(_list, kRate, _outputChannels, _endAtShortest));
}

LAudioMixerSource* LAudioMixer::_Find(int id) const
{
    for (LAudioMixerSource* entry = _list->head.get(); entry; entry = entry->next.get())
        if (entry->id == id)
            return entry;
    return nullptr;
}

void LAudioMixer::AddSource(LSoundSource& source, int id, bool held)
{
    LSoundSource old = source;  // the replaced source dies outside the lock
    {
        std::lock_guard guard(_list->lock);
        if (LAudioMixerSource* entry = _Find(id)) {
            std::swap(old, entry->source);
            return;
        }
    }
    // The entry is large: build it before taking the lock so a block never waits for it.
    auto entry = std::make_unique<LAudioMixerSource>(source, id, held);
    std::lock_guard guard(_list->lock);
    entry->next = std::move(_list->head);
    _list->head = std::move(entry);
}

void LAudioMixer::DeleteSource(int id)
{
    std::unique_ptr<LAudioMixerSource> removed;
    std::lock_guard guard(_list->lock);
    for (std::unique_ptr<LAudioMixerSource>* link = &_list->head; *link; link = &(*link)->next) {
        if ((*link)->id == id) {
            removed = std::move(*link);
            *link = std::move(removed->next);
            break;
        }
    }
    // `removed` is released after the guard, which was declared later and so dies first.
}

LSoundSource LAudioMixer::_Swap(int id, LSoundSource& source, bool keepPosition)
{
    LSoundSource old = source;
    std::lock_guard guard(_list->lock);
    LAudioMixerSource* entry = _Find(id);
    if (!entry)
        return old;
    if (keepPosition)
        source->Seek(entry->source->GetPositionSample());
    std::swap(old, entry->source);
    return old;
}

void LAudioMixer::ChangeSource(int id, LSoundSource& source)
{
    _Swap(id, source, false);
}

void LAudioMixer::UpdateSource(int id, LSoundSource& source)
{
    _Swap(id, source, true);
}

void LAudioMixer::NoticeSource(int id)
{
    std::lock_guard guard(_list->lock);
    if (LAudioMixerSource* entry = _Find(id))
        entry->notYetNoticed = false;
}

void LAudioMixer::NoticeAll()
{
    std::lock_guard guard(_list->lock);
    for (LAudioMixerSource* entry = _list->head.get(); entry; entry = entry->next.get())
        entry->notYetNoticed = false;
}

template <typename Change>
void LAudioMixer::_ChangeDesignations(int id, int sourceChannel, int outputChannel, Change change)
{
    if (!IsChannel(sourceChannel) || !IsChannel(outputChannel))
        return;
    std::lock_guard guard(_list->lock);
    if (LAudioMixerSource* entry = _Find(id)) {
        int* list = entry->designations[sourceChannel];
        change(list, list + LAudioMixerSource::kMaxChannels);
    }
}

void LAudioMixer::AddChannelDesignation(int id, int sourceChannel, int outputChannel)
{
    _ChangeDesignations(id, sourceChannel, outputChannel, [outputChannel](int* list, int* end) {
        // The whole list is searched, holes included, so that a route never doubles.
        if (std::find(list, end, outputChannel) != end)
            return;
        int* hole = std::find(list, end, -1);
        if (hole != end)
            *hole = outputChannel;
    });
}

void LAudioMixer::RemoveChannelDesignation(int id, int sourceChannel, int outputChannel)
{
    _ChangeDesignations(id, sourceChannel, outputChannel, [outputChannel](int* list, int* end) {
        int* slot = std::find(list, end, outputChannel);
        if (slot != end)
            *slot = -1;
    });
}

void LAudioMixer::SetChannelDesignationVolume(int id, int sourceChannel, int outputChannel, LdBValue volume)
{
    if (!IsChannel(sourceChannel) || !IsChannel(outputChannel))
        return;
    // Only this thread changes the list, so it may walk it without the lock.
    if (LAudioMixerSource* entry = _Find(id))
        entry->volumes[sourceChannel][outputChannel].store(static_cast<signed char>(volume.GetDB()),
                                                           std::memory_order_relaxed);
}

LAudioMixerSourceBase::LAudioMixerSourceBase(std::shared_ptr<LAudioMixerList> list, int rateHz,
                                             unsigned char outputChannels, bool endAtShortest)
    : LSoundSourceBase(rateHz, outputChannels, kPeakDefault),
      _list(std::move(list)),
      _endAtShortest(endAtShortest),
      _scratch(std::make_unique<int[]>(kScratchInts))
{
    std::lock_guard guard(_list->lock);
    for (LAudioMixerSource* entry = _list->head.get(); entry; entry = entry->next.get())
        if (entry->source->GetRate() != rate)
            LSPConvertSourceRateChannels(rate, entry->source->GetChannels(), entry->source);
}

void LAudioMixerSourceBase::Read(int* buffer, int frames)
{
    if (frames <= 0)
        return;
    std::fill_n(buffer, static_cast<size_t>(frames) * channels, 0);
    // Held through the block: list changes wait for its end.
    std::lock_guard guard(_list->lock);
    for (LAudioMixerSource* entry = _list->head.get(); entry; entry = entry->next.get())
        _MixSource(*entry, buffer, frames);
}

void LAudioMixerSourceBase::_MixSource(LAudioMixerSource& entry, int* buffer, int frames)
{
    const int sourceChannels = entry.source->GetChannels();
    // A block larger than the scratch is taken in pieces.
    const int piece = kScratchInts / sourceChannels;
    for (int done = 0; done < frames;) {
        const int count = std::min(piece, frames - done);
        entry.source->Read(_scratch.get(), count);
        for (int c = 0; c < sourceChannels; ++c)
            _MixChannel(entry, sourceChannels, c, buffer + static_cast<size_t>(done) * channels, count);
        done += count;
    }
}

void LAudioMixerSourceBase::_MixChannel(const LAudioMixerSource& entry, int sourceChannels, int channel, int* out,
                                        int frames) const
{
    const int* amplitude = LdBGetTables().amplitude;
    const int routes = entry.CountDesignations(channel);
    for (int i = 0; i < routes; ++i) {
        const int output = entry.designations[channel][i];
        if (output >= channels)
            continue;
        const int gain = amplitude[LdBTables::Index(entry.volumes[channel][output].load(std::memory_order_relaxed))];
        if (gain == kGainUnity)
            AddStrided(_scratch.get() + channel, sourceChannels, out + output, channels, frames);
        else
            AddGainStrided(_scratch.get() + channel, sourceChannels, out + output, channels, frames, gain);
    }
}

int LAudioMixerSourceBase::_Position(bool noticedOnly) const
{
    std::lock_guard guard(_list->lock);
    int top = 0;
    TopPosition(_list->head.get(), noticedOnly, top);
    return top;
}

int LAudioMixerSourceBase::GetPositionSample() const
{
    return _Position(false);
}

int LAudioMixerSourceBase::GetResyncPositionSample() const
{
    return _Position(true);
}

void LAudioMixerSourceBase::Seek(int sample)
{
    std::lock_guard guard(_list->lock);
    int top = 0;
    if (!TopPosition(_list->head.get(), true, top))
        return;
    for (LAudioMixerSource* entry = _list->head.get(); entry; entry = entry->next.get()) {
        if (entry->notYetNoticed)
            continue;
        LSoundSourceBase& source = *entry->source;
        source.Seek(std::min(sample - (top - source.GetPositionSample()), source.GetEndSample()));
    }
}

int LAudioMixerSourceBase::GetEndSample() const
{
    std::lock_guard guard(_list->lock);
    return _endAtShortest ? _EndAtShortest() : _EndAtLongest();
}

int LAudioMixerSourceBase::_EndAtShortest() const
{
    int top = 0;
    TopPosition(_list->head.get(), false, top);
    bool found = false;
    int shortest = 0;
    for (const LAudioMixerSource* entry = _list->head.get(); entry; entry = entry->next.get()) {
        const int left = entry->source->GetEndSample() - entry->source->GetPositionSample();
        shortest = found ? std::min(shortest, left) : left;
        found = true;
    }
    return top + shortest;
}

int LAudioMixerSourceBase::_EndAtLongest() const
{
    // The longest source, the one with the fewest frames left among equal ends.
    const LAudioMixerSource* longest = nullptr;
    int end = 0, left = 0;
    for (const LAudioMixerSource* entry = _list->head.get(); entry; entry = entry->next.get()) {
        const int entryEnd = entry->source->GetEndSample();
        const int entryLeft = entryEnd - entry->source->GetPositionSample();
        if (!longest || entryEnd > end || (entryEnd == end && entryLeft < left)) {
            longest = entry;
            end = entryEnd;
            left = entryLeft;
        }
    }
    // Any source with more left stretches the end, so that end less position covers it.
    for (const LAudioMixerSource* entry = _list->head.get(); entry; entry = entry->next.get()) {
        const int entryLeft = entry->source->GetEndSample() - entry->source->GetPositionSample();
        if (entry != longest && entryLeft > left) {
            end += entryLeft - left;
            left = entryLeft;
        }
    }
    return end;
}

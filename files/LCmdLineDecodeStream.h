#pragma once

#include "base/LProcessInterface.h"
#include "sound/LSoundSource.h"

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

struct LDecoderRun;

// Reading a decoder's WAVE output while the decoder is still writing it, so that a conversion
// runs alongside the decoder instead of after it.
//
// A decoder that knows the length writes a whole header first (flac, oggdec). Once it is
// there, the output opens as a source whose end is the length announced, and whose Read waits
// until the decoder has written the frames asked for, or has exited: it never reads past what
// is written. When the decoder has exited the file is read as it was left, and a decoder that
// wrote fewer frames than it announced has failed (see LStreamingReadScope).

// The long task that reads, on its own thread, from a source that may wait for a decoder: a
// stop asked of it ends those waits (the frames not yet written read as silence), and it hears
// of a decoder that stopped short. Scopes nest; the innermost counts.
//
// A source closed while its decoder still runs waits for the decoder to end, as a decoder run
// to the end before reading would have been waited for; but a source read in a scope whose
// task was stopped abandons its decoder instead, which then cleans up after itself.
class LStreamingReadScope {
public:
    explicit LStreamingReadScope(LProcessInterface& process);
    // A stop asked of the task by now abandons the decoders of the sources read in the scope.
    ~LStreamingReadScope();
    LStreamingReadScope(const LStreamingReadScope&) = delete;
    LStreamingReadScope& operator=(const LStreamingReadScope&) = delete;

    // True once a decoder read in this scope exited short of the length it announced.
    bool DecoderFailed() const { return _decoderFailed; }

    // For the sources: the scope of the calling thread, or null.
    static LStreamingReadScope* Current();
    bool IsToStop() { return _process.IsToStop(); }
    void SetDecoderFailed() { _decoderFailed = true; }
    // Remembers a source's flag, to be set when the scope ends stopped.
    void Watch(const std::shared_ptr<std::atomic<bool>>& giveUp);

private:
    LProcessInterface& _process;
    LStreamingReadScope* _outer;
    bool _decoderFailed = false;
    std::vector<std::shared_ptr<std::atomic<bool>>> _watched;
};

// The output at `path` of `run` as a source that follows the decoder, once its header
// announces a length; a closed source (error 1) while it does not yet (or never will: a
// placeholder length). Takes over `helper` only on success.
LSoundSource LOpenDecoderOutputWhileWritten(const std::shared_ptr<LDecoderRun>& run, std::thread& helper,
                                            const char* path);
// Whether the output at `path` would be followed: a whole header of uncoded samples that tells
// the length (not a placeholder).
bool LDecoderOutputAnnouncesLength(const char* path);

#include "engine/LOrvaneSourceTap.h"

#include "sound/MemorySource.h"

#include <gtest/gtest.h>

namespace {

class RecordingSink : public LSoundSinkBase {
public:
    RecordingSink() : LSoundSinkBase(44100, 2) {}
    void Write(int const* buffer, int frames) override
    {
        written.insert(written.end(), buffer, buffer + 2 * frames);
        position += frames;
    }
    std::vector<int> written;
};

// Answers every control message, so a message that reaches it shows.
class AnsweringSource : public MemorySource {
public:
    using MemorySource::MemorySource;
    bool ControlMessage(LControlMessage id, long*) override
    {
        messages.push_back(id);
        return true;
    }
    std::vector<LControlMessage> messages;
};

}  // namespace

TEST(LOrvaneSourceTap, RecordsExactlyWhatItPassesAndKeepsTheFadeMessage)
{
    auto* inner = new AnsweringSource(44100, 2, MakeSine(44100, 2, 440.0, 100000, 5000));
    LSoundSource mix(inner);
    auto* recorder = new RecordingSink;
    LSoundSink sink(recorder);
    LSoundSource tap(new LOrvaneSourceTap(mix, &sink));

    std::vector<int> played = ReadAll(tap, 1000);
    std::vector<int> more = ReadAll(tap, 333);
    played.insert(played.end(), more.begin(), more.end());
    EXPECT_EQ(recorder->written, played);
    EXPECT_EQ(played, std::vector<int>(inner->data.begin(), inner->data.begin() + 2 * 1333));

    long frames = 512;
    EXPECT_TRUE(tap->ControlMessage(kMsgCrossFade, nullptr));
    EXPECT_TRUE(tap->ControlMessage(kMsgPrefillSecondary, &frames));
    EXPECT_EQ(inner->messages, std::vector<LControlMessage>{kMsgPrefillSecondary}) << "the fade request stays with the tap";
}

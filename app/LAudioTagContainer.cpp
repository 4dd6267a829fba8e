// Container tags through libavformat: the keys of Vorbis comments, MP4 atoms and the like as
// FFmpeg names them, mapped to the table's keys. Only tags are read here; decoding is not.
#include "app/LAudioTagData.h"

#include <string>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
}

namespace {

struct _ContainerKey {
    const char* ffmpeg;  // matched without regard to case
    const char* key;
};

// The first name found for a key wins; later names of the same key only fill a gap.
constexpr _ContainerKey kContainerKeys[] = {
    {"title", "TITLE"},         {"artist", "ARTIST"},       {"album_artist", "ARTIST"},
    {"album", "ALBUM"},         {"date", "YEAR"},           {"year", "YEAR"},
    {"comment", "COMMENT"},     {"description", "COMMENT"}, {"track", "TRACKNUMBER"},
    {"genre", "GENRE"},         {"copyright", "COPYRIGHT"}, {"publisher", "PRODUCER"},
    {"organization", "PRODUCER"}, {"encoder", "ENCODER"},   {"grouping", "CATEGORY"},
    {"disc", "DISKNUMBER"},     {"bpm", "BPM"},             {"tbpm", "BPM"},
    {"composer", "COMPOSER"},   {"encoded_by", "ENCODEDBY"}, {"url", "URL"},
};

// Closes the input however the read ends.
struct _Input {
    AVFormatContext* context = nullptr;
    ~_Input() { avformat_close_input(&context); }
};

}  // namespace

bool LAudioTagData::ReadTagsContainer(const char* path)
{
    _Input input;
    // Always as a local file: a name such as "http:x.ogg" must not choose a protocol.
    const std::string url = std::string("file:") + path;
    if (avformat_open_input(&input.context, url.c_str(), nullptr, nullptr) < 0)
        return false;
    // Ogg keeps its comments on the stream, FLAC and MP4 on the file: both are looked at.
    const AVDictionary* dictionaries[2] = {input.context->metadata, nullptr};
    for (unsigned i = 0; i < input.context->nb_streams; ++i) {
        if (input.context->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
            dictionaries[1] = input.context->streams[i]->metadata;
            break;
        }
    }
    bool found = false;
    for (const AVDictionary* dictionary : dictionaries) {
        if (!dictionary)
            continue;
        for (const _ContainerKey& name : kContainerKeys) {
            const AVDictionaryEntry* entry = av_dict_get(dictionary, name.ffmpeg, nullptr, 0);
            if (entry && entry->value && entry->value[0]) {
                SetTag(name.key, entry->value, false);
                found = true;
            }
        }
    }
    return found;
}

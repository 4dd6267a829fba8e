// orvane-tool: the command-line companion. This file only declares the subcommands and their
// arguments; each subcommand's work is a function of ToolCommands.h.
#include <CLI/CLI.hpp>

#include "OrvaneVersion.h"
#include "tools/ToolCommands.h"

#include <cstdio>
#include <functional>
#include <memory>
#include <string>

namespace {

struct ToolApp {
    CLI::App app{ORVANE_PRODUCT " command-line companion", "orvane-tool"};
    std::function<int()> run;  // set by the subcommand that was chosen

    CLI::App* Add(const char* name, const char* description, std::function<int()> action)
    {
        CLI::App* sub = app.add_subcommand(name, description);
        sub->callback([this, action] { run = action; });
        return sub;
    }
};

// Whole numbers are decimal: CLI11 reads "010" as octal 8 and "0x10" as 16, which nobody typing a
// frame or a rate means. Leading zeros are dropped and a base prefix is refused.
const CLI::Validator kDecimal(
    [](std::string& text) -> std::string {
        const size_t digits = text.find_first_not_of("+-");
        if (digits == std::string::npos || digits > 1)
            return {};  // not a number: the option's own conversion reports it
        const size_t first = text.find_first_not_of('0', digits);
        if (first != std::string::npos && (text[first] == 'x' || text[first] == 'X' || text[first] == 'b'))
            return "a decimal whole number is due: " + text;
        if (first == std::string::npos)
            text.replace(digits, std::string::npos, "0");
        else
            text.erase(digits, first - digits);
        return {};
    },
    "", "DECIMAL");

std::string _Ranges(const tool::OptionRange& range)
{
    return tool::DescribeRanges({&range, 1});
}

void _DeclareInfo(ToolApp& tool)
{
    static std::string path;
    CLI::App* info = tool.Add("info", "Show rate, channels, length, peak, error and codec of a file",
                              [] { return tool::Info(path); });
    info->add_option("FILE", path, "Audio file")->required();
}

void _DeclareConvert(ToolApp& tool)
{
    static tool::ConvertOptions options;
    CLI::App* convert = tool.Add("convert", "Convert an audio file to a WAVE file",
                                 [] { return tool::Convert(options); });
    convert->add_option("IN", options.in, "Audio file to read")->required();
    convert->add_option("OUT", options.out, "WAVE file to write")->required();
    // Integer depths only: a float file would carry tag 1 as the WAVE sink writes it, and
    // other programs would read it as noise.
    convert->add_option("--bits", options.bits, "Sample depth of OUT: 8, 16, 24 or 32")
        ->check(CLI::IsMember({"8", "16", "24", "32"}));
    convert->add_option("--rate", options.rate, "Sample rate of OUT: " + _Ranges(tool::kRateRange))->transform(kDecimal);
    convert->add_option("--channels", options.channels, "Channels of OUT: " + _Ranges(tool::kChannelsRange))->transform(kDecimal);
}

void _DeclareSettings(ToolApp& tool)
{
    struct Arguments {
        std::string section, key, value;
    };
    auto args = std::make_shared<Arguments>();  // kept alive by the callbacks below
    CLI::App* settings = tool.app.add_subcommand("settings", "Read or change a user setting");
    settings->require_subcommand(1);
    CLI::App* get = settings->add_subcommand("get", "Print a setting's value");
    get->add_option("SECTION", args->section)->required();
    get->add_option("KEY", args->key)->required();
    get->callback([&tool, args] { tool.run = [args] { return tool::SettingsGet(args->section, args->key); }; });
    CLI::App* set = settings->add_subcommand("set", "Store a setting's value and print it as stored");
    set->add_option("SECTION", args->section)->required();
    set->add_option("KEY", args->key)->required();
    set->add_option("VALUE", args->value)->required();
    set->callback([&tool, args] {
        tool.run = [args] { return tool::SettingsSet(args->section, args->key, args->value); };
    });
}

void _DeclarePitch(ToolApp& tool)
{
    static tool::PitchOptions options;
    CLI::App* pitch = tool.Add("pitch", "Play a file faster or slower, as a deck does, into a WAVE file",
                               [] { return tool::Pitch(options); });
    pitch->add_option("IN", options.in, "Audio file to read")->required();
    pitch->add_option("OUT", options.out, "WAVE file to write")->required();
    pitch->add_option("--speed", options.speed, "Speed: " + _Ranges(tool::kSpeedRange))->required();
}

void _DeclareDeck(ToolApp& tool)
{
    static tool::DeckOptions o;
    CLI::App* deck = tool.Add("deck", "Render a WAVE file through a deck's chain with the given settings",
                              [] { return tool::Deck(o); });
    deck->add_option("IN", o.in, "WAVE file on the deck")->required();
    deck->add_option("OUT", o.out, "WAVE file to write (16 bits)")->required();
    deck->add_option("--eq", o.eq, "Equaliser L,M,H, each " + _Ranges(tool::kEqRange))->delimiter(',')->expected(3)->transform(kDecimal);
    deck->add_option("--highpass", o.highPass, "High pass: " + _Ranges(tool::kHighPassRange))->transform(kDecimal);
    deck->add_option("--reverb", o.reverb, "Reverb: " + tool::DescribeRanges(tool::kReverbRanges))
        ->delimiter(',')->expected(3)->transform(kDecimal);
    deck->add_option("--distortion", o.distortion, "Distortion: " + tool::DescribeRanges(tool::kDistortionRanges))
        ->delimiter(',')->expected(2);
    deck->add_option("--phaser", o.phaser, "Phaser: " + tool::DescribeRanges(tool::kPhaserRanges))
        ->delimiter(',')->expected(2)->transform(kDecimal);
    deck->add_option("--flanger", o.flanger, "Flanger: " + tool::DescribeRanges(tool::kFlangerRanges))
        ->delimiter(',')->expected(4);
    deck->add_option("--delay", o.delay, "Delay: " + tool::DescribeRanges(tool::kDelayRanges))
        ->delimiter(',')->expected(2)->transform(kDecimal);
    deck->add_option("--pitch", o.pitch, "Pitch: " + _Ranges(tool::kPitchRange));
    deck->add_option("--loop", o.loop, "Loop CUE,FRAMES: first frame and length, within the played track")
        ->delimiter(',')->expected(2)->transform(kDecimal);
    deck->add_option("--start", o.start, "First frame, within the played track (frames count at the pitch)")->transform(kDecimal);
    deck->add_option("--frames", o.frames, "Frames to render (default: to the end; 30 s with a loop)")->transform(kDecimal);
}

void _DeclarePlayback(ToolApp& tool)
{
    tool.Add("devices", "List the output devices with their channels", [] { return tool::Devices(); });
    static tool::PlayOptions o;
    CLI::App* play = tool.Add("play", "Play an audio file on an output device", [] { return tool::Play(o); });
    play->add_option("FILE", o.file, "Audio file")->required();
    play->add_option("--device", o.device, "Output device name (see devices)");
    play->add_option("--seconds", o.seconds, "Stop after this much of the file: " + _Ranges(tool::kSecondsRange));
}

void _DeclareFiles(ToolApp& tool)
{
    static std::string file, in, out;
    tool.Add("cache", "Find or make the cached WAVE file of an audio file, as a deck load does",
             [] { return tool::Cache(file); })
        ->add_option("FILE", file, "Audio file")->required();
    tool.Add("formats", "List the extensions opened and the outside decoders found", [] { return tool::Formats(); });
    CLI::App* decode = tool.Add("decode", "Decode an audio file to 32-bit WAVE at its own rate and channels",
                                [] { return tool::Decode(in, out); });
    decode->add_option("IN", in, "Audio file to read")->required();
    decode->add_option("OUT", out, "WAVE file to write")->required();
}

void _DeclareAnalysis(ToolApp& tool)
{
    static std::vector<std::string> files;
    CLI::App* bpm = tool.Add("bpm", "Detect the tempo of WAVE files as a deck load does", [] { return tool::Bpm(files); });
    bpm->add_option("FILE", files, "WAVE files")->required();
    static tool::MixOptions m;
    CLI::App* mix = tool.Add("mix", "Mix two WAVE files through the console and record the result", [] { return tool::Mix(m); });
    mix->add_option("A", m.a, "WAVE file on deck A")->required();
    mix->add_option("B", m.b, "WAVE file on deck B")->required();
    mix->add_option("-o,--out", m.out, "WAVE file to write")->required();
    mix->add_option("--at", m.at, "B starts at this time of A: " + _Ranges(tool::kMixAtRange));
    mix->add_option("--fade", m.fade, "Crossfade time: " + _Ranges(tool::kMixFadeRange));
    mix->add_flag("--sync", m.sync, "Match B's tempo and beat to A's when it starts");
    mix->add_option("--length", m.length, "Stop the mix here: " + _Ranges(tool::kMixLengthRange));
}

void _DeclareLibrary(ToolApp& tool)
{
    static std::string tagsFile, exportPath;
    static std::vector<std::string> addPaths;
    CLI::App* tags = tool.Add("tags", "Show the tags of a file as the library reads them", [] { return tool::Tags(tagsFile); });
    tags->add_option("FILE", tagsFile, "Audio file")->required();
    CLI::App* library = tool.app.add_subcommand("library", "List, add to or export the track library");
    library->require_subcommand(1);
    library->add_subcommand("list", "One track a line: title, artist, album, time, bpm, path")
        ->callback([&tool] { tool.run = [] { return tool::LibraryList(); }; });
    library->add_subcommand("add", "Add files, folders and playlists")
        ->callback([&tool] { tool.run = [] { return tool::LibraryAdd(addPaths); }; })
        ->add_option("PATH", addPaths, "Files, folders or playlists")->required();
    library->add_subcommand("export", "Write the library as an M3U, PLS or XML list")
        ->callback([&tool] { tool.run = [] { return tool::LibraryExport(exportPath); }; })
        ->add_option("OUT", exportPath, "List file (.m3u, .pls or .xml)")->required();
}

void _DeclareCommands(ToolApp& tool)
{
    _DeclareFiles(tool);
    _DeclareAnalysis(tool);
    _DeclareLibrary(tool);
    _DeclareInfo(tool);
    _DeclareConvert(tool);
    _DeclareSettings(tool);
    _DeclarePitch(tool);
    _DeclareDeck(tool);
    _DeclarePlayback(tool);
}

}  // namespace

int main(int argc, char** argv)
{
    ToolApp tool;
    tool.app.set_version_flag("--version", std::string(ORVANE_PRODUCT " ") + ORVANE_VERSION);
    tool.app.require_subcommand(0, 1);
    _DeclareCommands(tool);
    try {
        tool.app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return tool.app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return tool.app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return tool.app.exit(e);
    } catch (const CLI::ParseError& e) {
        tool::PrintError("%s (see orvane-tool --help)", e.what());
        return tool::kExitUsage;
    }
    if (!tool.run) {
        std::fputs(tool.app.help().c_str(), stderr);
        return tool::kExitUsage;
    }
    tool::InstallFilesHooks();
    return tool.run();
}

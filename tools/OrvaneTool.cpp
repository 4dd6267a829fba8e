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
    convert->add_option("--bits", options.bits, "Sample depth of OUT")
        ->check(CLI::IsMember({"8", "16", "24", "32", "float"}));
    convert->add_option("--rate", options.rate, "Sample rate of OUT (Hz)");
    convert->add_option("--channels", options.channels, "Channel count of OUT");
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
    pitch->add_option("--speed", options.speed, "Speed, 1.0 normal; below 0.1 plays at 0.1")->required();
}

void _DeclareDeck(ToolApp& tool)
{
    static tool::DeckOptions o;
    CLI::App* deck = tool.Add("deck", "Render a WAVE file through a deck's chain with the given settings",
                              [] { return tool::Deck(o); });
    deck->add_option("IN", o.in, "WAVE file on the deck")->required();
    deck->add_option("OUT", o.out, "WAVE file to write (16 bits)")->required();
    deck->add_option("--eq", o.eq, "Equaliser L,M,H in dB")->delimiter(',')->expected(3);
    deck->add_option("--highpass", o.highPass, "High pass corner (Hz)");
    deck->add_option("--reverb", o.reverb, "Reverb MIX,MS,OPTION")->delimiter(',')->expected(3);
    deck->add_option("--distortion", o.distortion, "Distortion AMOUNT,DB")->delimiter(',')->expected(2);
    deck->add_option("--phaser", o.phaser, "Phaser A,B")->delimiter(',')->expected(2);
    deck->add_option("--flanger", o.flanger, "Flanger A,B,C,D")->delimiter(',')->expected(4);
    deck->add_option("--delay", o.delay, "Delay A,B")->delimiter(',')->expected(2);
    deck->add_option("--pitch", o.pitch, "Speed ratio, 1.0 normal");
    deck->add_option("--loop", o.loop, "Loop CUE,FRAMES")->delimiter(',')->expected(2);
    deck->add_option("--start", o.start, "First frame");
    deck->add_option("--frames", o.frames, "Frames to render (default: to the end; 30 s with a loop)");
}

void _DeclarePlayback(ToolApp& tool)
{
    tool.Add("devices", "List the output devices with their channels", [] { return tool::Devices(); });
    static tool::PlayOptions o;
    CLI::App* play = tool.Add("play", "Play an audio file on an output device", [] { return tool::Play(o); });
    play->add_option("FILE", o.file, "Audio file")->required();
    play->add_option("--device", o.device, "Output device name (see devices)");
    play->add_option("--seconds", o.seconds, "Stop after this much of the file")->check(CLI::Range(0.001, 1e6));
}

void _DeclareCommands(ToolApp& tool)
{
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
    return tool.run();
}

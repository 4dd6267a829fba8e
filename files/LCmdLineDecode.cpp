#include "files/LCmdLineDecode.h"

#include "base/LRunProgram.h"
#include "base/LSignalObject.h"
#include "files/LCmdLineDecodeRun.h"
#include "files/LCmdLineDecodeStream.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <strings.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

const LCommandLineDecoder LCommandLineDecodeList[] = {
    {".ogg", "oggdec", "\"%s\" -o \"%s\" \"%s\"", false},
    {".flac", "flaccodec", "\"%s\" -d -o \"%s\" -F \"%s\"", false},
    {".aac", "aacdec2", "\"%s\" -d -o \"%s\" \"%s\"", false},
    {".m4a", "aacdec2", "\"%s\" -d -o \"%s\" \"%s\"", false},
    {".mp4", "aacdec2", "\"%s\" -d -o \"%s\" \"%s\"", false},
    {".wma", "wmadec", "\"%s\" -i \"%s\" -vn -f wav \"%s\"", true},
    {".mpc", "mpcdec2", "\"%s\" \"%s\" \"%s\"", true},
};
const int LCommandLineDecodeCount = int(sizeof(LCommandLineDecodeList) / sizeof(LCommandLineDecodeList[0]));

namespace {

constexpr size_t kLineBytes = 600;
constexpr unsigned int kHeaderPollMs = 5;  // how often the output is looked at for its header

const char* const szEndianSeparatedComponents[] = {
    "a52dec2", "aacdec2", "aacenc3", "aacenc4", "amrdec2", "amrenc2", "ffmpeg4", "ffmpeg7", "ffmpeg9",
    "ffmpeg10", "ffmpeg11", "flaccodec", "mp3el", "mp3el2", "mpcdec2", "mpcenc2", "wmadec",
};

struct LinuxProgram {
    const char* component;
    const char* program;
};
constexpr LinuxProgram kLinuxPrograms[] = {
    {"oggdec", "oggdec"}, {"flaccodec", "flac"}, {"aacdec2", "faad"}, {"wmadec", "ffmpeg"}, {"mpcdec2", "mpcdec"},
};

bool _IsEndianSeparated(const char* name)
{
    for (const char* listed : szEndianSeparatedComponents)
        if (std::strcmp(listed, name) == 0)
            return true;
    return false;
}

// False for an executable of another machine's kind (Mach-O in either byte order or width).
bool _IsOfThisMachine(const char* path)
{
    unsigned char magic[4] = {};
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool read4 = read(fd, magic, 4) == 4;
    close(fd);
    if (!read4)
        return true;  // a script or stub too short to tell: let running it decide
    const uint32_t big = uint32_t(magic[0]) << 24 | uint32_t(magic[1]) << 16 | uint32_t(magic[2]) << 8 | magic[3];
    for (uint32_t foreign : {0xfeedfaceu, 0xcefaedfeu, 0xfeedfacfu, 0xcffaedfeu, 0xcafebabeu})
        if (big == foreign)
            return false;
    return true;
}

bool _IsRegularFile(const char* path)
{
    struct stat info {};
    return stat(path, &info) == 0 && S_ISREG(info.st_mode);
}

}  // namespace

bool LFindProgramOnPath(const char* program, char* path)
{
    path[0] = '\0';
    const char* list = std::getenv("PATH");
    if (!list || !*list)
        return false;
    std::string folders(list);
    size_t begin = 0;
    while (begin <= folders.size()) {
        size_t end = folders.find(':', begin);
        if (end == std::string::npos)
            end = folders.size();
        const std::string folder = folders.substr(begin, end - begin);
        begin = end + 1;
        if (folder.empty() || folder[0] != '/')
            continue;  // a relative entry would depend on the working folder
        if (LFile::_MakeFilePath(path, folder.c_str(), program) && _IsRegularFile(path) && access(path, X_OK) == 0)
            return true;
    }
    path[0] = '\0';
    return false;
}

namespace {

const LCommandLineDecoder* _FindDecoder(const char* extension)
{
    for (const LCommandLineDecoder& row : LCommandLineDecodeList)
        if (strcasecmp(row.extension, extension) == 0)
            return &row;
    return nullptr;
}

// A path as one argument that no program takes for an option.
std::string _AsArgument(const char* path)
{
    return path[0] == '-' ? std::string("./") + path : std::string(path);
}

// The format's words with its placeholders filled, in order, by `values`.
std::vector<std::string> _SplitFormat(const char* format, const std::vector<std::string>& values)
{
    std::vector<std::string> words;
    std::string word;
    bool quoted = false, inWord = false;
    size_t next = 0;
    for (const char* p = format; *p; ++p) {
        if (*p == '"') {
            quoted = !quoted;
            inWord = true;
        } else if (*p == ' ' && !quoted) {
            if (inWord)
                words.push_back(word);
            word.clear();
            inWord = false;
        } else if (p[0] == '%' && p[1] == 's') {
            word += next < values.size() ? values[next++] : std::string();
            inWord = true;
            ++p;
        } else {
            word += *p;
            inWord = true;
        }
    }
    if (inWord)
        words.push_back(word);
    return words;
}

}  // namespace

const char* LGetComponentLinuxProgram(const char* name)
{
    for (const LinuxProgram& entry : kLinuxPrograms)
        if (std::strcmp(entry.component, name) == 0)
            return entry.program;
    return nullptr;
}

bool LGetComponentFileName(const char* name, char* fileName)
{
    const int n = std::snprintf(fileName, LFile::kPathBytes, _IsEndianSeparated(name) ? "%si" : "%s", name);
    return n >= 0 && size_t(n) < LFile::kPathBytes;
}

bool LGetComponentFolder(char* folder)
{
    return LFile::GetUserDataFolderAppSubFolder(LFile::kComponentsFolder, folder);
}

bool LIsComponentInstalled(const char* name, char* path)
{
    char folder[LFile::kPathBytes], fileName[LFile::kPathBytes];
    if (LGetComponentFolder(folder) && LGetComponentFileName(name, fileName) &&
        LFile::_MakeFilePath(path, folder, fileName) && _IsRegularFile(path) &&
        (!_IsEndianSeparated(name) || _IsOfThisMachine(path)))
        return true;
    const char* program = LGetComponentLinuxProgram(name);
    if (program && LFindProgramOnPath(program, path))
        return true;
    path[0] = '\0';
    return false;
}

bool GetComponentPathDownload(const char* name, char* path)
{
    return LIsComponentInstalled(name, path);
}

void LGetMissingComponentMessage(char* message, size_t bytes, const char* extension, const char* component)
{
    const char* program = component && *component ? LGetComponentLinuxProgram(component) : nullptr;
    if (component && *component)
        std::snprintf(message, bytes,
                      "Orvane DJ Software could not locate a plugin for the file with extension \"%s\". "
                      "Please install the plug-in \"%s\"%s%s%s: see \"Supported formats\" in the README.",
                      extension, component, program ? " (on Linux, the program " : "", program ? program : "",
                      program ? ")" : "");
    else
        std::snprintf(message, bytes,
                      "Orvane DJ Software could not locate a plugin for the file with extension \"%s\". "
                      "No plugin appears to be available, therefore this format may be unsupported. "
                      "See \"Supported formats\" in the README.",
                      extension);
}

int LGetCommandLineDecoderLine(LProcessInterface& process, char* line, const char* input, const char* output,
                               char* componentName, std::vector<std::string>* argv)
{
    (void)process;
    componentName[0] = '\0';
    line[0] = '\0';
    char extension[LFile::kPathBytes];
    LFile::_GetFileExtensionFromPath(extension, input);
    const LCommandLineDecoder* row = _FindDecoder(extension);
    if (!row)
        return 0;
    std::snprintf(componentName, LFile::kPathBytes, "%s", row->component);
    char program[LFile::kPathBytes];
    if (!GetComponentPathDownload(row->component, program))
        return 0;
    const char* first = row->inputFirst ? input : output;
    const char* second = row->inputFirst ? output : input;
    char escapedFirst[LFile::kPathBytes], escapedSecond[LFile::kPathBytes];
    LFile::EscapeFilePath(escapedFirst, first);
    LFile::EscapeFilePath(escapedSecond, second);
    std::snprintf(line, kLineBytes, row->format, program, escapedFirst, escapedSecond);
    if (argv)
        *argv = _SplitFormat(row->format, {program, _AsArgument(first), _AsArgument(second)});
    return 1;
}

bool LDecoderRun::Start(const std::shared_ptr<LDecoderRun>& run, std::thread& helper)
{
    try {
        helper = std::thread(_RunOnHelper, run);
    } catch (...) {
        return false;
    }
    return true;
}

void LDecoderRun::_RunOnHelper(std::shared_ptr<LDecoderRun> run)
{
    std::vector<const char*> argv;
    for (const std::string& word : run->argv)
        argv.push_back(word.c_str());
    argv.push_back(nullptr);
    const int status = LRunProgram(argv.data());
    run->result = status == kRunProgramFailed ? kProcessFailed : kProcessFinished;
    std::lock_guard<std::mutex> hold(run->mutex);
    run->finished = true;
    if (run->abandoned)
        run->_CleanUpAbandoned();
    else
        run->keepAlive.reset();  // the waiter holds its own until it has opened the output
    run->done.Signal();
}

void LDecoderRun::_CleanUpAbandoned()
{
    if (!abandonedOutput.empty())
        unlink(abandonedOutput.c_str());
    keepAlive.reset();
}

void LDecoderRun::Abandon(std::thread& helper)
{
    std::lock_guard<std::mutex> hold(mutex);
    abandoned = true;
    if (finished) {
        _CleanUpAbandoned();
        if (helper.joinable())
            helper.join();  // it has only to return
    } else if (helper.joinable()) {
        helper.detach();  // the program is not killed; its thread cleans up after it
    }
}

LProcessResult LRunDecoderProgram(LProcessInterface& process, const std::vector<std::string>& argv,
                                  const char* abandonedOutput, std::shared_ptr<void> keepAlive)
{
    if (argv.empty())
        return kProcessFailed;
    auto run = std::make_shared<LDecoderRun>();
    run->argv = argv;
    run->abandonedOutput = abandonedOutput ? abandonedOutput : "";
    run->keepAlive = std::move(keepAlive);
    std::thread helper;
    if (!LDecoderRun::Start(run, helper))
        return kProcessFailed;
    const LProcessResult waited = process.ProcessWaitSignal(run->done.Ref(), kWaitForever);
    if (waited != kProcessFinished) {
        run->Abandon(helper);
        return waited;
    }
    helper.join();
    return run->result.load();
}

namespace {

// Status lines and the decoder's arguments for `job`; false, with the message set, when its
// component is missing.
bool _BeginDecoding(LProcessInterface& process, const LCmdLineConvertToWav& job, std::vector<std::string>& argv)
{
    char extension[LFile::kPathBytes], name[LFile::kPathBytes], status[LFile::kPathBytes + 32];
    LFile::_GetFileExtensionFromPath(extension, job.input);
    LFile::_GetFileFromPath(name, job.input);
    std::snprintf(status, sizeof status, "Decoding %s file", extension);
    process.SetStatus(status, 0);
    process.SetStatus(name, 1);
    char line[kLineBytes], component[LFile::kPathBytes];
    if (LGetCommandLineDecoderLine(process, line, job.input, job.output, component, &argv))
        return true;
    char message[1024];
    LGetMissingComponentMessage(message, sizeof message, extension, component);
    process.SetError(message);
    return false;
}

// Waits for `run` until it has finished, or its output announces its length (then `stream`
// follows it), or a stop.
LProcessResult _WaitForOutput(LProcessInterface& process, const std::shared_ptr<LDecoderRun>& run,
                              std::thread& helper, const char* output, LSoundSource& stream)
{
    for (;;) {
        const LProcessResult waited = process.ProcessWaitSignal(run->done.Ref(), kHeaderPollMs);
        if (waited == kProcessStopped) {
            run->Abandon(helper);
            return kProcessStopped;
        }
        // Also a decoder that has already finished: it is then read as it left its output, so
        // that one that stopped short fails alike however fast it was.
        stream = LOpenDecoderOutputWhileWritten(run, helper, output);
        if (stream->GetError() == kErrNone)
            return kProcessFinished;
        if (waited == kProcessFinished) {
            helper.join();
            return run->result.load();
        }
    }
}

}  // namespace

LProcessResult Process(LProcessInterface& process, const LCmdLineConvertToWav& job)
{
    std::vector<std::string> argv;
    if (!_BeginDecoding(process, job, argv))
        return kProcessFailed;
    process.SetProgressIndeterminateOn();
    const LProcessResult result = LRunDecoderProgram(process, argv, job.output, job.outputLock);
    process.SetProgressIndeterminateOff();
    return result;
}

LProcessResult ProcessStreaming(LProcessInterface& process, const LCmdLineConvertToWav& job, LSoundSource& stream)
{
    stream = LSoundSource();
    std::vector<std::string> argv;
    if (!_BeginDecoding(process, job, argv))
        return kProcessFailed;
    auto run = std::make_shared<LDecoderRun>();
    run->argv = argv;
    run->abandonedOutput = job.output;
    run->keepAlive = job.outputLock;
    std::thread helper;
    if (!LDecoderRun::Start(run, helper))
        return kProcessFailed;
    process.SetProgressIndeterminateOn();
    const LProcessResult result = _WaitForOutput(process, run, helper, job.output, stream);
    process.SetProgressIndeterminateOff();
    return result;
}

namespace {

// The component's program into `program`; when it is missing, the message naming it is set.
bool _FindComponent(LProcessInterface& process, const char* extension, const char* component, char* program)
{
    if (GetComponentPathDownload(component, program))
        return true;
    char message[1024];
    LGetMissingComponentMessage(message, sizeof message, extension, component);
    process.SetError(message);
    return false;
}

}  // namespace

LProcessResult LAMRDecode(LProcessInterface& process, const char* input, const char* output)
{
    process.SetStatus("Decoding AMR file", 0);
    char program[LFile::kPathBytes];
    if (!_FindComponent(process, ".amr", "amrdec2", program))
        return kProcessFailed;
    process.SetProgressIndeterminateOn();
    LProcessResult result = LRunDecoderProgram(process, {program, _AsArgument(input), _AsArgument(output)}, output);
    process.SetProgressIndeterminateOff();
    if (result == kProcessFailed)
        unlink(output);
    return result;
}

LProcessResult LRCAVOCDecodeData(LProcessInterface& process, const char* input, char* outputWav)
{
    outputWav[0] = '\0';
    char name[LFile::kPathBytes];
    LFile::_GetFileFromPath(name, input);
    process.SetStatus("Decoding RCA VOC file", 0);
    process.SetStatus(name, 1);
    char program[LFile::kPathBytes];
    if (!_FindComponent(process, ".voc", "devoc", program))
        return kProcessFailed;
    char copy[] = "/var/tmp/0XXXXXX";
    const int fd = mkstemps(copy, 0);
    if (fd < 0)
        return kProcessFailed;
    fchmod(fd, LFile::kFileMode);
    close(fd);
    LProcessResult result = kProcessFailed;
    if (LFile::CopyFile(input, copy)) {
        std::snprintf(outputWav, LFile::kPathBytes, "%s", copy);
        LFile::_ApplyNewFileExtension(outputWav, ".wav");
        process.SetProgressIndeterminateOn();
        result = LRunDecoderProgram(process, {program, "-w", copy}, outputWav);
        process.SetProgressIndeterminateOff();
    }
    unlink(copy);
    return result;
}

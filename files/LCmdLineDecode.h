#pragma once

#include "base/LFile.h"
#include "base/LProcessInterface.h"
#include "sound/LSoundSource.h"

#include <memory>
#include <string>
#include <vector>

// Outside decoders ("components"): small programs that decode one format to a WAVE file. A
// component is looked for in the component folder ("Components" under the user data folder),
// then as the Linux program of the same role on PATH. Programs are run with an argument list,
// never through a shell, so any file name reaches them as one argument.

struct LCommandLineDecoder {
    const char* extension;  // with its dot
    const char* component;
    // printf-style: the program, then two file paths; the quotes only group words and are
    // not passed on.
    const char* format;
    bool inputFirst;  // the paths are input, output (else output, input)
};
extern const LCommandLineDecoder LCommandLineDecodeList[];
extern const int LCommandLineDecodeCount;

// The first executable file called `program` in an absolute folder of PATH, into `path`
// (kPathBytes); false, with `path` "", when there is none.
bool LFindProgramOnPath(const char* program, char* path);
// The Linux program that stands for a component when the component folder lacks it; null
// when there is none.
const char* LGetComponentLinuxProgram(const char* name);
// The component's file name in the component folder: names of szEndianSeparatedComponents
// get "i" behind them. `fileName` holds kPathBytes; false if cut.
bool LGetComponentFileName(const char* name, char* fileName);
// The component folder, made when missing; false when it can't be.
bool LGetComponentFolder(char* folder);
// True, with its full path in `path`, when the component is in the component folder (a file
// of this machine's kind) or its Linux program is on PATH.
bool LIsComponentInstalled(const char* name, char* path);
// The component's path, or false when it is missing: there is no download service here.
bool GetComponentPathDownload(const char* name, char* path);

// Looks up the extension of `input` and builds the decoder's command. 0 when the extension has
// no row (`componentName` then ""), or the component is missing (`componentName` set). On 1,
// `line` (600 bytes) holds the command as a shell would read it, for messages, and `argv` (if
// given) the arguments to run.
int LGetCommandLineDecoderLine(LProcessInterface& process, char* line, const char* input, const char* output,
                               char* componentName, std::vector<std::string>* argv = nullptr);

// The message for a component that is missing (`component` empty: the format has none).
void LGetMissingComponentMessage(char* message, size_t bytes, const char* extension, const char* component);

struct LCmdLineConvertToWav {
    char input[LFile::kPathBytes] = "";
    char output[LFile::kPathBytes] = "";
    std::shared_ptr<void> outputLock;  // held until the decoder has finished, also when abandoned
};

// Decodes input to output with the component of input's extension. 0 when the program ran
// (whether it made a usable file shows when the output is opened), 1 on a stop, 2 when the
// component is missing or could not be started.
LProcessResult Process(LProcessInterface& process, const LCmdLineConvertToWav& job);
// As Process, but without waiting for the end when the decoder's output announces its length
// before the decoder has finished: the result is then 0 at once, with `stream` a source that
// reads the output as it is written (LCmdLineDecodeStream.h). Otherwise `stream` is a closed
// handle and the output is whatever the decoder left.
LProcessResult ProcessStreaming(LProcessInterface& process, const LCmdLineConvertToWav& job, LSoundSource& stream);

// Runs `argv` on a helper thread while `process` waits. On a stop the program is not killed:
// the thread lets it finish and then deletes `abandonedOutput` (if given), which nobody will
// read. 0 ran, 1 stopped, 2 could not start.
// `keepAlive` is released only after the program has finished and its output is gone.
LProcessResult LRunDecoderProgram(LProcessInterface& process, const std::vector<std::string>& argv,
                                  const char* abandonedOutput, std::shared_ptr<void> keepAlive = {});

// AMR through "amrdec2" into a raw file at `output`; an output left by a failure is deleted.
LProcessResult LAMRDecode(LProcessInterface& process, const char* input, const char* output);
// RCA VOC through "devoc", which writes beside its input: the input is copied to a unique
// name in /var/tmp, and the WAVE file made there is named in `outputWav` (kPathBytes).
LProcessResult LRCAVOCDecodeData(LProcessInterface& process, const char* input, char* outputWav);

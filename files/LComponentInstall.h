#pragma once

// Installing components (outside decoders) into the component folder ("Components" under the
// user data folder; see LCmdLineDecode.h). A component comes as one program file or as a
// ".zip" archive, which is extracted with the `unzip` program. An install is whole or not at
// all: the archive is extracted into a hidden folder beside the components and its entries
// are moved in only when everything has worked. Folders get mode 0755; programs (the files at
// the archive's top, and those it marks executable) 0755, other files 0644: never writable by
// others, where the original ran "chmod -R ugo+rwx".

enum class LComponentInstallResult {
    kInstalled = 0,
    kMissingFile,        // the file or archive to install is not there
    kNoArchiveProgram,   // `unzip` is not installed
    kBadArchive,         // `unzip` could not extract the archive (corrupt, truncated, not a zip)
    kNotInArchive,       // the archive does not hold the component's program
    kCannotWrite,        // the component folder cannot be made or written
};

// One line for the user about a result.
const char* LComponentInstallResultText(LComponentInstallResult result);

// Extracts every file of the archive into `folder` (which must exist). False when `unzip` is
// missing (`noProgram` set) or fails.
bool LZipFileExtractAllFiles(const char* zipPath, const char* folder, bool* noProgram = nullptr);

// A component as it was fetched: a ".zip" (any case) is extracted and then deleted, any other
// file is installed as the component's program.
LComponentInstallResult LInstallNormalComponent(const char* name, const char* path);
// One program file installed as the component `name` (its file name as LGetComponentFileName
// says), replacing an earlier one; `path` itself is left.
LComponentInstallResult LInstallUnzippedComponent(const char* name, const char* path);
// The archive's files into the component folder. With a `name`, the archive must hold that
// component's program at its top. The archive is deleted after a successful install when
// `deleteZip`.
LComponentInstallResult LInstallZipComponentOptionallyDeleteZipFile(const char* name, const char* zipPath,
                                                                    bool deleteZip);

// The folder of components that come with the program: "components" beside the running
// program (the build tree), else "../share/Orvane/components" from its folder (an installed
// <prefix>/bin/orvane). False when neither exists.
bool LGetBundledComponentsFolder(char* folder);
// Installs every ".zip" of `folder` (without deleting it); the number installed.
int LInstallBundledComponentsFromFolder(const char* folder);
// The same for the bundled folder; 0 when there is none.
int LInstallBundledComponentsFromResourcesFolder();

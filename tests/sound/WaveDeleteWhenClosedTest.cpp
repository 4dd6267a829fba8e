#include "base/LFile.h"
#include "sound/LWaveFile.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

// A temporary WAVE file is deleted by the path it was opened with. A path longer than a path
// buffer once had its first 259 characters deleted instead: another file. It is refused now,
// as a missing file, and neither file is touched.
TEST(WaveDeleteWhenClosed, APathThatDoesNotFitIsRefusedAndTheFileOfItsCutNameSurvives)
{
    TempFolder folder;
    const std::string parent = folder / std::string(240 - folder.Path().size() - 1, 'p');
    std::filesystem::create_directories(parent);
    const std::string path = parent + "/" + std::string(35, 'w');  // 276 characters
    const std::string cutName = path.substr(0, LFile::kMaxPathChars);
    WriteWholeFile(path, "RIFF");
    WriteWholeFile(cutName, "survivor");
    {
        LSoundSource source = LWaveFile::OpenSourceDeletingFileWhenClosed(path.c_str());
        EXPECT_EQ(source->GetError(), kErrMissing);
    }
    EXPECT_EQ(ReadWholeFile(cutName), "survivor");
    EXPECT_EQ(ReadWholeFile(path), "RIFF");
}

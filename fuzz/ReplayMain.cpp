// Replays a libFuzzer corpus without libFuzzer, so g++ builds run every saved input under the
// sanitizers. Arguments are files or folders; a folder contributes every regular file in it.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

int _RunFile(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    return 1;
}

}  // namespace

int main(int argc, char** argv)
{
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        std::filesystem::path arg(argv[i]);
        if (std::filesystem::is_directory(arg)) {
            for (const auto& entry : std::filesystem::directory_iterator(arg))
                if (entry.is_regular_file())
                    count += _RunFile(entry.path());
        } else {
            count += _RunFile(arg);
        }
    }
    std::printf("replayed %d inputs\n", count);
    return 0;
}

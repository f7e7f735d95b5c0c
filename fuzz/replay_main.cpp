// Replays fuzz inputs without libFuzzer: every file named on the command
// line, or found in a directory named there, is fed to the target once.
// The corpora and the regression inputs run this way as ordinary tests.
#include "FuzzSupport.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

int main(int argc, char** argv)
{
    int files = 0;
    for (int i = 1; i < argc; ++i) {
        std::vector<std::filesystem::path> paths;
        if (std::filesystem::is_directory(argv[i])) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i]))
                if (entry.is_regular_file())
                    paths.push_back(entry.path());
        } else {
            paths.emplace_back(argv[i]);
        }
        for (const auto& path : paths) {
            std::ifstream in(path, std::ios::binary);
            const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
            ++files;
        }
    }
    std::printf("%d passed, 0 failed\n", files);
    return files > 0 ? 0 : 1;
}

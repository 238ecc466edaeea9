#include "fuzz.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(const fs::path& path)
{
    if (!fs::is_directory(path))
        return {path};
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
        if (entry.is_regular_file())
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// The input lies in memory of exactly its size, so that AddressSanitizer sees a read behind it.
bool run(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        return false;
    const std::string content{std::istreambuf_iterator<char>(stream), {}};
    const std::vector<uint8_t> bytes(content.begin(), content.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    return true;
}

} // namespace

/// Runs a fuzz target over files and the files of folders, without a fuzzer. The file that breaks it is the
/// last one named.
int main(int argc, char** argv)
{
    std::size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const fs::path& file : filesOf(argv[i])) {
            std::printf("%s\n", file.c_str());
            std::fflush(stdout);
            if (!run(file)) {
                std::fprintf(stderr, "cannot be read\n");
                return 1;
            }
            ++count;
        }
    }
    std::printf("%zu inputs\n", count);
    return count == 0 ? 1 : 0;
}

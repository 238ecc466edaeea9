#include "fuzz.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
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

std::string contentOf(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        std::fprintf(stderr, "%s cannot be read\n", file.c_str());
        std::exit(1);
    }
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Lines "<seed><tab><outcome>": the outcome holds that text; with nothing behind the tab there is none.
using Expectations = std::multimap<std::string, std::string>;

Expectations expectationsIn(const fs::path& file)
{
    Expectations expected;
    std::istringstream lines(contentOf(file));
    for (std::string line; std::getline(lines, line);) {
        const std::size_t tab = line.find('\t');
        expected.emplace(line.substr(0, tab),
                         tab == std::string::npos ? std::string() : line.substr(tab + 1));
    }
    return expected;
}

/// Runs the target; false when the outcome is another than expected. The input lies in memory of exactly its
/// size, so that AddressSanitizer sees a read behind it.
bool run(const fs::path& file, Expectations& expected)
{
    const std::string content = contentOf(file);
    const std::vector<uint8_t> bytes(content.begin(), content.end());
    Fuzz::outcome().clear();
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    const auto [first, last] = expected.equal_range(file.filename().string());
    bool isGood = true;
    for (auto it = first; it != last; ++it) {
        const std::string& part = it->second;
        const bool holds =
            part.empty() ? Fuzz::outcome().empty() : Fuzz::outcome().find(part) != std::string::npos;
        if (!holds)
            std::fprintf(stderr, "expected \"%s\", found \"%s\"\n", part.c_str(), Fuzz::outcome().c_str());
        isGood = isGood && holds;
    }
    expected.erase(first, last);
    return isGood;
}

} // namespace

/// Runs a fuzz target over files and the files of folders, without a fuzzer, and compares the outcomes with
/// those that a file behind --outcomes expects. The file that breaks the target is the last one named.
int main(int argc, char** argv)
{
    Expectations expected;
    std::size_t count = 0;
    int bad = 0;
    for (int i = 1; i < argc; ++i) {
        if (std::string(argv[i]) == "--outcomes" && i + 1 < argc) {
            expected = expectationsIn(argv[++i]);
            continue;
        }
        for (const fs::path& file : filesOf(argv[i])) {
            std::printf("%s\n", file.c_str());
            std::fflush(stdout);
            bad += run(file, expected) ? 0 : 1;
            ++count;
        }
    }
    for (const auto& missing : expected)
        std::fprintf(stderr, "there is no seed %s\n", missing.first.c_str());
    std::printf("%zu inputs, %d with another outcome than expected\n", count, bad);
    return count == 0 || bad > 0 || !expected.empty() ? 1 : 0;
}

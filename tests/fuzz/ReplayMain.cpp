// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// Runs a fuzz target once over every file of the folders or files named on its command line, as
// libFuzzer does with -runs=0: the checked-in corpora then replay in the ordinary build, without
// clang or libFuzzer. A target that finds a fault aborts, and so fails the test.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int argc, char **argv)
{
    std::vector<std::filesystem::path> files;
    for (int a = 1; a < argc; ++a) {
        if (!std::filesystem::is_directory(argv[a]))
            files.emplace_back(argv[a]);
        else
            for (const auto &entry : std::filesystem::directory_iterator(argv[a]))
                files.push_back(entry.path());
    }
    for (const std::filesystem::path &file : files) {
        std::ifstream in(file, std::ios::binary);
        if (!in) {
            std::fprintf(stderr, "cannot read %s\n", file.c_str());
            return 1;
        }
        const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
        // Names the input that aborts, if one does; like libFuzzer, never a null pointer.
        std::fprintf(stderr, "%s\n", file.c_str());
        static const uint8_t none = 0;
        LLVMFuzzerTestOneInput(
            bytes.empty() ? &none : reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
    }
    std::fprintf(stderr, "%zu inputs replayed\n", files.size());
    return files.empty() ? 1 : 0; // an empty or missing corpus would pass testing nothing
}

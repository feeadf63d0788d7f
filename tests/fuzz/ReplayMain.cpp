// Runs a fuzz target once over every file of the folders or files named on its command line,
// as libFuzzer does with -runs=0: the checked-in corpora then replay in the ordinary build,
// without clang or libFuzzer. A target that finds a fault aborts, and so fails the test.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

bool replay(const std::filesystem::path &file)
{
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", file.c_str());
        return false;
    }
    const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
    std::fprintf(stderr, "%s\n", file.c_str()); // names the input that aborts, if one does
    // Like libFuzzer, never a null pointer, even for an empty file.
    static const uint8_t none = 0;
    LLVMFuzzerTestOneInput(bytes.empty() ? &none : reinterpret_cast<const uint8_t *>(bytes.data()),
                           bytes.size());
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    int count = 0;
    for (int a = 1; a < argc; ++a) {
        const std::filesystem::path arg(argv[a]);
        if (std::filesystem::is_directory(arg)) {
            for (const auto &entry : std::filesystem::directory_iterator(arg)) {
                if (!entry.is_regular_file() || !replay(entry.path()))
                    return 1;
                ++count;
            }
        } else {
            if (!replay(arg))
                return 1;
            ++count;
        }
    }
    std::fprintf(stderr, "%d inputs replayed\n", count);
    // An empty or missing corpus would pass without testing anything.
    return count > 0 ? 0 : 1;
}

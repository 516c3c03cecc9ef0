// SPDX-License-Identifier: BSD-3-Clause
// Runs a fuzz target over files, as the fuzzer would run them, without the fuzzer: the seeds
// and every input that once failed are run this way as ordinary tests.
//
//   fuzz_<target> FILE_OR_DIRECTORY...

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

void run(const std::filesystem::path &file)
{
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
}

} // namespace

int main(int argc, char **argv)
{
    std::size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path path(argv[i]);
        if (std::filesystem::is_directory(path)) {
            for (const auto &entry : std::filesystem::recursive_directory_iterator(path)) {
                if (entry.is_regular_file()) {
                    run(entry.path());
                    ++count;
                }
            }
        } else if (std::filesystem::is_regular_file(path)) {
            run(path);
            ++count;
        } else {
            std::fprintf(stderr, "%s: no such file or directory\n", argv[i]);
            return 2;
        }
    }
    std::printf("%zu inputs ran\n", count);
    return count > 0 ? 0 : 1;
}

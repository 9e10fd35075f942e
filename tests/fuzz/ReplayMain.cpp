// Runs a fuzz target's entry point over files, without a fuzzer: every input that was ever worth keeping is a test.
//
// Usage: <target>Replay FOLDER; exit code 1 when there is nothing to run, and a crash when the target finds something.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv)
{
    if (argc != 2 || !std::filesystem::is_directory(argv[1]))
    {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 1;
    }
    std::size_t count = 0;
    for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(argv[1]))
    {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        std::fprintf(stderr, "%s\n", entry.path().filename().string().c_str()); // the last one is the one that crashed
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        ++count;
    }
    std::fprintf(stderr, "%zu inputs\n", count);
    return count != 0 ? 0 : 1;
}

// Runs a fuzz target over saved inputs without libFuzzer: each argument is a file or a folder
// of files, each file one input.
#include <cstdint>
#include <cstdio>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

static int replayFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return 1;
    }
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    return 0;
}

static int replay(const std::string& path, int& count)
{
    struct stat info;
    if (stat(path.c_str(), &info) != 0) {
        std::fprintf(stderr, "no such input %s\n", path.c_str());
        return 1;
    }
    if (!S_ISDIR(info.st_mode)) {
        ++count;
        return replayFile(path);
    }
    int failures = 0;
    if (DIR* dir = opendir(path.c_str())) {
        while (dirent* entry = readdir(dir)) {
            std::string name = entry->d_name;
            if (name == "." || name == "..")
                continue;
            failures += replay(path + "/" + name, count);
        }
        closedir(dir);
    }
    return failures;
}

int main(int argc, char** argv)
{
    int failures = 0;
    int count = 0;
    for (int i = 1; i < argc; ++i)
        failures += replay(argv[i], count);
    std::printf("replayed %d inputs\n", count);
    return failures == 0 ? 0 : 1;
}

// Runs a fuzz target over files and directories of inputs, for builds without libFuzzer.
#include <dirent.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

int RunFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "cannot read %s\n", path.c_str());
    return 1;
  }
  std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  return 0;
}

int RunPath(const std::string& path, int* count) {
  struct stat st;
  if (stat(path.c_str(), &st) != 0) {
    std::fprintf(stderr, "no such input %s\n", path.c_str());
    return 1;
  }
  if (!S_ISDIR(st.st_mode)) {
    ++*count;
    return RunFile(path);
  }
  DIR* dir = opendir(path.c_str());
  if (!dir) return 1;
  int failures = 0;
  while (dirent* entry = readdir(dir)) {
    std::string name = entry->d_name;
    if (name != "." && name != "..") failures += RunPath(path + "/" + name, count);
  }
  closedir(dir);
  return failures;
}

}  // namespace

int main(int argc, char** argv) {
  int count = 0;
  int failures = 0;
  for (int i = 1; i < argc; ++i) failures += RunPath(argv[i], &count);
  std::printf("replayed %d inputs\n", count);
  return failures == 0 && count > 0 ? 0 : 1;
}

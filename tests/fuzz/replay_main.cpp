// Feeds every file under the directories (or the files) named on the command
// line to the fuzz entry point it is linked with, without libFuzzer, so the
// seeds and the inputs of past findings run in every test build. A crash or
// abort fails the test as it would fail the fuzzer.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
// Defined by the harnesses that set something up once per process.
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

int main(int argc, char** argv) {
  if (LLVMFuzzerInitialize) LLVMFuzzerInitialize(&argc, &argv);
  std::vector<std::filesystem::path> files;
  for (int i = 1; i < argc; ++i) {
    const std::filesystem::path path(argv[i]);
    if (std::filesystem::is_directory(path)) {
      for (const auto& entry : std::filesystem::recursive_directory_iterator(path))
        if (entry.is_regular_file()) files.push_back(entry.path());
    } else {
      files.push_back(path);
    }
  }
  if (files.empty()) {
    std::fprintf(stderr, "no corpus files\n");
    return 1;
  }
  for (const auto& file : files) {
    std::ifstream in(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(in),
                                  std::istreambuf_iterator<char>()};
    // A copy of exactly its size, so an over-read is as wrong here as there.
    std::vector<uint8_t> input(bytes.begin(), bytes.end());
    std::fprintf(stderr, "%s\n", file.c_str());
    LLVMFuzzerTestOneInput(input.data(), input.size());
  }
  std::printf("%zu inputs\n", files.size());
  return 0;
}

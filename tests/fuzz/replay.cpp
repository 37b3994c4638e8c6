/**
 * Runs a fuzzer once over each file of the directories given: what has been found stays tested
 * where libFuzzer is not.
 */
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *octets, size_t length);

int main(int argc, char **argv) {
  int inputs = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto &entry : std::filesystem::directory_iterator(argv[i])) {
      std::ifstream file(entry.path(), std::ios::binary);
      const std::vector<char> octets{std::istreambuf_iterator<char>(file), {}};
      LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(octets.data()), octets.size());
      ++inputs;
    }
  }
  printf("%d inputs\n", inputs);
  return inputs > 0 ? 0 : 1;
}

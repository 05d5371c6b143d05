// Replay: runs a fuzz target on files, without libFuzzer.
//
//    NAMEFuzz FILE|FOLDER...       each file is one input, as is each file under a folder
//
// Ends with status 1 if there was no input at all, so that a corpus that went missing is noticed; a fault that an input
// finds ends the process by an abort, after the input's name was printed.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t sizeBytes);

namespace {

std::vector<std::filesystem::path> inputsUnder(const std::filesystem::path& path) {
   if (!std::filesystem::is_directory(path))
      return {path};
   std::vector<std::filesystem::path> inputs;
   for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
      if (entry.is_regular_file())
         inputs.push_back(entry.path());
   }
   std::sort(inputs.begin(), inputs.end());  // a folder's own order differs between machines
   return inputs;
}

void replay(const std::filesystem::path& path) {
   std::cout << path.string() << std::endl;  // flushed before the input can bring the process down
   std::ifstream file(path, std::ios::binary);
   file.exceptions(std::ios::badbit | std::ios::failbit);
   std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
   // A copy of exactly the input's size, so that the address sanitizer sees a read past its end.
   const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
   LLVMFuzzerTestOneInput(input.data(), input.size());
}

}  // namespace

int main(int argc, char** argv) {
   std::size_t replayed = 0;
   for (int i = 1; i < argc; ++i) {
      for (const auto& input : inputsUnder(argv[i])) {
         replay(input);
         ++replayed;
      }
   }
   std::cout << replayed << " inputs\n";
   return replayed ? 0 : 1;
}

#include "harness/FuzzTarget.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace kelpie {
namespace {

// Made before main(), in any order.
constinit const FuzzTarget* firstTarget = nullptr;
constinit const FuzzTarget* chosenTarget = nullptr;

constexpr std::string_view kFuzzPrefix = "fuzz_";

}  // namespace

FuzzTarget::FuzzTarget(const char* name, Run run) : name_(name), run_(run), next_(firstTarget) {
  firstTarget = this;
}

const FuzzTarget* FuzzTarget::find(std::string_view name) {
  const FuzzTarget* target = firstTarget;
  while (target != nullptr && target->name_ != name) target = target->next_;
  return target;
}

void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace kelpie

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** argv) {
  std::string_view name = **argv;
  name.remove_prefix(name.rfind('/') + 1);
  if (name.starts_with(kelpie::kFuzzPrefix)) name.remove_prefix(kelpie::kFuzzPrefix.size());
  kelpie::chosenTarget = kelpie::FuzzTarget::find(name);
  if (kelpie::chosenTarget == nullptr) {
    std::fprintf(stderr, "there is no fuzz target %.*s\n", static_cast<int>(name.size()),
                 name.data());
    std::exit(2);
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kelpie::chosenTarget->run({data, size});
  return 0;
}

#include "support/linux/FailingCalls.h"

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

#include <cstddef>
#include <cstdint>
#include <thread>
#include <vector>

namespace kelpie {
namespace {

sock_filter statement(unsigned code, std::uint32_t value) {
  return {static_cast<std::uint16_t>(code), 0, 0, value};
}

// The system asks this program about each call of the thread.
std::vector<sock_filter> filterFor(std::initializer_list<long> calls, int error) {
  std::vector<sock_filter> filter = {
      statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  for (const long call : calls) {
    filter.push_back({BPF_JMP | BPF_JEQ | BPF_K, 0, 1, static_cast<std::uint32_t>(call)});
    filter.push_back(
        statement(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error)));
  }
  filter.push_back(statement(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  return filter;
}

void failFromNowOn(std::initializer_list<long> calls, int error) {
  std::vector<sock_filter> filter = filterFor(calls, error);
  sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
  ASSERT_EQ(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
  ASSERT_EQ(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0), 0);
}

}  // namespace

// For good, as far as that thread goes.
void withFailingCalls(std::initializer_list<long> calls, int error,
                      const std::function<void()>& task) {
  std::thread([&] {
    failFromNowOn(calls, error);
    task();
  }).join();
}

}  // namespace kelpie

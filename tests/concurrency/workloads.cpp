#include "workloads.h"

namespace kvt {

std::vector<Workload>& workloads() {
  static std::vector<Workload> all;
  return all;
}

int addWorkload(const char* name, std::function<std::vector<uint8_t>(uint64_t)> run) {
  workloads().push_back({name, std::move(run)});
  return (int)workloads().size();
}

}  // namespace kvt

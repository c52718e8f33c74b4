#include <windows.h>

#include "command/memorylimit.h"

namespace command {

std::uint64_t MachineMemory() {
  MEMORYSTATUSEX memory{};
  memory.dwLength = sizeof memory;
  return GlobalMemoryStatusEx(&memory) != 0 ? memory.ullTotalPhys : 0;
}

void LimitProcess(std::uint64_t bytes) {
  if (bytes == 0) {
    return;
  }
  // The job lives as long as the process.
  HANDLE job = CreateJobObjectW(nullptr, nullptr);
  if (job == nullptr) {
    return;
  }
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_PROCESS_MEMORY;
  limits.ProcessMemoryLimit = static_cast<SIZE_T>(bytes);
  if (SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits) !=
      0) {
    AssignProcessToJobObject(job, GetCurrentProcess());
  }
}

}  // namespace command

// A tool's run of the HAL: the checks on a recording before the HAL starts, the start with the
// HAL's console lines aside, and the reason a run failed.
#ifndef OMBRIX_HAL_TOOL_SESSION_H
#define OMBRIX_HAL_TOOL_SESSION_H

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>

// Why a tool cannot go on; thrown so that filters, players and tuners close on the way out.
struct Failure {
  std::string reason;
};

constexpr const char* kChannelPlanVariable = "DIB_EMULATOR_CHANNEL_PLAN";

void setEnvironment(const char* name, const char* value);

// What the emulated antenna receives, unless the user named a plan.
void useChannelPlanUnlessSet(const char* plan);

// A missing or unreadable file, a directory, a path the file tuner cannot take, a file shorter
// than `shortestBytes` (too short for `kind`): the reason, else empty and `bytes` its size.
std::string checkRecording(const std::string& file, uint64_t shortestBytes, const char* kind, uint64_t& bytes);

// Starts the HAL (the checking allocator, so that leaks show in the log; no window), runs `job`
// and stops the HAL. Meanwhile the HAL's console lines go to stderr with `log`, else nowhere,
// and `job` writes to what stdout was. With `log` the HAL's log lines go to stderr too. The
// reason the HAL did not start or `job` failed, else empty.
std::string runWithHal(bool log, const std::function<void(std::FILE* out)>& job);

#endif

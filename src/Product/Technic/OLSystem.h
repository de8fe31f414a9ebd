#pragma once

#include <string>

// Process-wide running flag: true at load. GThread loops read it on every
// pass; GThread's exception handlers take it down.
//
// Prints "~~~...setSystemRunningFlag~~~... Flag=%d Reason=%s" on standard
// output; a false flag also writes reason to the stop log.
void setSystemRunningFlag(bool flag, const std::string& reason);
bool isSystemRunning();

// The two logs of the toolkit (paths of the device's file system).
inline constexpr const char* kThreadExceptionLogPath = "./mnt/mtd/log/ThreadException.log";
inline constexpr const char* kStopLogPath = "/mnt/mtd/log/Reboot.log";
inline constexpr unsigned kToolkitLogMaxSize = 10240;

// The command line that a device runs to restart; nothing in the library runs it.
inline constexpr const char* kRebootCommand = "/factory_setting/reboot.sh &";

// The log paths in use. They stay at the constants above; tests point them
// into a temporary directory. An empty path restores the default.
std::string getThreadExceptionLogPath();
void setThreadExceptionLogPath(const std::string& path);
std::string getStopLogPath();
void setStopLogPath(const std::string& path);

#pragma once

#include <cstdint>
#include <string>

// A time span or an up-time in seconds and microseconds.
class OLTimeValue {
  public:
    OLTimeValue() : sec(0), usec(0) {}
    // Values below 1 become 0.
    OLTimeValue(int s, int us) : sec(s < 1 ? 0 : s), usec(us < 1 ? 0 : us) {}

    int sec;
    int usec;
};

// Milliseconds of the monotonic clock as an unsigned 32-bit counter, which
// wraps after about 49.7 days.
uint32_t getTickCount32();

// The tick counter as seconds and the rest in microseconds.
void getUpTime(OLTimeValue* out);

// Sleeps sec * 1000 + usec / 1000 milliseconds.
void sleepFor(const OLTimeValue& t);

// Local time of now: format 1 gives "MM/DD/YYYY hh:mm:ss", any other "YYYY-MM-DD hh:mm:ss".
std::string getTimeString(int format);

// Names of the time formats; nothing in the library reads them.
inline constexpr const char* kTimeFormatNames[] = {"ErrorFormat",         "YYYY-MM-DD hh:mm:ss",
                                                   "hh:mm:ss YYYY-MM-DD", "MM/DD/YYYY hh:mm:ss",
                                                   "hh:mm:ss MM/DD/YYYY", "weekday MM/DD/YYYY hh:mm:ss"};

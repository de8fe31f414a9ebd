// Range and address texts as an application passes them: the input is split
// at its first line feed into a first and a last address.
#include "FuzzSupport.h"
#include "devsearch/IPTool.h"
#include "discovery/AddressText.h"
#include "discovery/DeviceRangeSearchThread.h"

// Ranges the target walks; larger ones only cost memory, which addRange does
// not bound (an application asks for what it wants to search).
constexpr uint32_t kMaxWalk = 4096;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    quietStdout();
    const std::string text = toText(data, size);
    const size_t cut = text.find('\n');
    const std::string first = text.substr(0, cut);
    const std::string last = cut == std::string::npos ? first : text.substr(cut + 1);

    IPTool tool;
    int version = 0;
    tool.checkIPAddress(first.c_str(), version);
    tool.checkIPAddress(last.c_str(), version);

    uint32_t from = 0;
    uint32_t to = 0;
    const bool read = readDottedIPv4(first.c_str(), from) && readDottedIPv4(last.c_str(), to);
    if (read && to >= from && to - from >= kMaxWalk) return 0;

    static DeviceRangeSearchThread range;
    range.clearRange();
    const bool added = range.addRange(first.c_str(), last.c_str());
    // addRange takes exactly the texts that read as a range below the all-ones address.
    if (added != (read && to >= from && to != 0xFFFFFFFFu)) __builtin_trap();
    if (added && range.getAddresses().size() != to - from + 1) __builtin_trap();
    return 0;
}

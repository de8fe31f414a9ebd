// An answer to a search query, read as the engines read it: parseCommand, then
// the DeviceSummaryInfo taken out of the body. Built twice: the multicast
// answers of port 31002 (any command identifier) and, with
// DEVSEARCH_RANGE_ANSWER, the range answers (command 30542 only).
#include "FuzzSupport.h"
#include "domain/records/DeviceSummaryInfo.h"
#include "protocol/CommandParam.h"
#include "protocol/SDKCommandParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    quietStdout();
    CommandBuffer datagram;
    if (!toDatagram(data, size, datagram)) return 0;
    SafePointer<CommandParam> param;
    if (!SDKCommandParser().parseCommand(datagram, param)) return 0;
    const auto* command = dynamic_cast<const SDKCommandParam*>(param.get());
    if (command == nullptr) return 0;
#ifdef DEVSEARCH_RANGE_ANSWER
    if (command->m_objHead.nCommandID != 30542) return 0;
#endif
    DeviceSummaryInfo summary;
    if (extractDomain(summary, command->m_domains)) {
        DeviceSummaryInfo again(summary);
        if (!(again == summary)) __builtin_trap();  // a copy must compare equal
    }
    return 0;
}

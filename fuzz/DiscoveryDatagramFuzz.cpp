// A datagram of port 30003 through the receiver's decode steps: envelope,
// command head, and the bodies of commands 16, 20 and 23.
#include "FuzzSupport.h"
#include "discovery/DiscoveryCommandReceiver.h"
#include "domain/records/DeviceAccessParam.h"
#include "domain/records/DeviceSummaryInfo.h"
#include "domain/records/HostNetwork.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    quietStdout();
    CommandBuffer datagram;
    if (!toDatagram(data, size, datagram)) return 0;
    DeviceAccessParam access;
    DeviceSummaryInfo summary;
    HostNetwork network;
    DiscoveryCommandReceiver().handle(datagram, access, summary, network);
    return 0;
}

#include "discovery/TransferOpening.h"

#include <memory>
#include <vector>

#include "domain/records/InetAddr.h"
#include "transport/AdapterQuery.h"
#include "transport/ITransfer.h"
#include "transport/TransferFactory.h"

namespace {

int bindAndJoin(ITransfer& transfer, const InetAddr& group, const std::string& adapter, int recvBufferBytes) {
    transfer.setReuseAddr(true);
    InetAddr local;
    local.setPORT(group.getPORT());
    local.setIPProtoVer(group.getIPProtoVer());
    if (group.getIPProtoVer() == 2) {
        // Every adapter binds the wildcard address: reuse lets them share the port.
        local.setIP("::");
    } else {
        std::vector<std::string> addresses;
        listAdapterAddresses(adapter, addresses);
        if (addresses.empty()) return kTransferNoLocalAddress;
        local.setIP(addresses.front());
    }
    if (transfer.bindAddr(local) != 0) return kTransferBindFailed;
    if (!transfer.joinMulticast(group)) return kTransferReuseFailed;
    transfer.setRecvBufferSize(recvBufferBytes);
    return 0;
}

}  // namespace

int openGroupTransfer(ITransferFactory& factory, const InetAddr& group, const std::string& adapter,
                      const WakeUp& wakeUp, int recvBufferBytes, SafePointer<ITransfer>& out) {
    std::unique_ptr<ITransfer> created(factory.createTransfer(group.getIPProtoVer()));
    if (!created) return kTransferNoMemory;
    SafePointer<ITransfer> transfer = adoptSafePointer<ITransfer>(std::move(created));
    transfer->setWakeUp(&wakeUp);
    const int opened = transfer->open();
    if (opened != 0) return opened;
    const int joined = bindAndJoin(*transfer, group, adapter, recvBufferBytes);
    if (joined != 0) {
        transfer->close();
        return joined;
    }
    out = transfer;
    return 0;
}

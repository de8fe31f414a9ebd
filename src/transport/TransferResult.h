#pragma once

// Result codes of the transfers, and those that the discovery engines add
// when they open one.
enum TransferResult {
    kTransferOk = 0,
    kTransferNoMemory = -2,
    kTransferNotOpen = -4,
    kTransferCreateFailed = -202,
    kTransferBindFailed = -203,
    kTransferConnectFailed = -204,
    kTransferSendFailed = -210,
    kTransferSendTimeout = -211,
    kTransferRecvFailed = -212,
    kTransferRecvTimeout = -213,
    kTransferNoLocalAddress = -214,
    kTransferReuseFailed = -215,
    kTransferNoFactory = -217,
};

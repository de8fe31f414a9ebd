#pragma once

#include "protocol/ICommandBodyParser.h"

// The binary bodies: raw bytes or free text in place of an XML document.
// All numbers are big-endian 32-bit. On reading, every length is checked
// against the bytes of the body; one that points past them fails the parse,
// and nothing is appended to `domains` unless the whole body was read.

// Commands 31026, 32743, 32821, 33028: N, result code, N bytes.
// Records: a DataBuffer and an EtResult, both required and N above 0.
class RemoteSnapshotRespBodyParser : public ICommandBodyParser {
  public:
    ~RemoteSnapshotRespBodyParser() override;
    bool createCommandBody(const DomainList& domains, CommandBuffer& out) override;
    bool parseCommandBody(const CommandBuffer& in, DomainList& domains) override;
};

// Command 33026: N, N bytes. Record: a DataBuffer with N above 0.
class ParamImportReqBodyParser : public ICommandBodyParser {
  public:
    ~ParamImportReqBodyParser() override;
    bool createCommandBody(const DomainList& domains, CommandBuffer& out) override;
    bool parseCommandBody(const CommandBuffer& in, DomainList& domains) override;
};

// Commands 15020, 47005: N, flag byte, result code (at the odd offset 5),
// N bytes. Records: an EtFileDataPack and an EtResult; N may be 0.
class FileReadDataCommandBodyParser : public ICommandBodyParser {
  public:
    ~FileReadDataCommandBodyParser() override;
    bool createCommandBody(const DomainList& domains, CommandBuffer& out) override;
    bool parseCommandBody(const CommandBuffer& in, DomainList& domains) override;
};

// Command 33019: N, N bytes of serial data, value 1, value 2.
// Record: an EtCOMWriteData with N above 0.
class COMWriteDataCommandBodyParser : public ICommandBodyParser {
  public:
    ~COMWriteDataCommandBodyParser() override;
    bool createCommandBody(const DomainList& domains, CommandBuffer& out) override;
    bool parseCommandBody(const CommandBuffer& in, DomainList& domains) override;
};

// Command 14006: result code, CameraId, L1, PTZOperation text, L2, Name text,
// PTZId. The texts carry no terminator; PTZId is optional on reading (1 when
// absent). Records: an EtPTZOperation, and an EtResult (code 0 when missing).
class PTZOperationBodyParser : public ICommandBodyParser {
  public:
    ~PTZOperationBodyParser() override;
    bool createCommandBody(const DomainList& domains, CommandBuffer& out) override;
    bool parseCommandBody(const CommandBuffer& in, DomainList& domains) override;
};

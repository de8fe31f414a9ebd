#include "protocol/BinaryBodyParsers.h"

#include <climits>
#include <cstdint>
#include <string>

#include "domain/records/DataBuffer.h"
#include "domain/records/EtCOMWriteData.h"
#include "domain/records/EtFileDataPack.h"
#include "transport/WireBytes.h"
#include "protocol/MakeSafe.h"
#include "domain/records/EtPTZOperation.h"
#include "domain/records/EtResult.h"

using wire::appendBytes;
using wire::appendU32;
using wire::appendU8;
using wire::Reader;

namespace {

const int kCOMWriteDataId = 1067;

// The bytes a body parser reads: from the cursor, bounded by the buffer.
Reader bodyReader(const CommandBuffer& in) {
    return Reader::of(in);
}

// Allocates `out` for exactly `size` bytes; false for sizes an int cannot hold.
bool allocExact(CommandBuffer& out, uint64_t size) {
    if (size == 0 || size > static_cast<uint64_t>(INT_MAX)) {
        return false;
    }
    return out.alloc(static_cast<int>(size));
}

// Appends one record to `domains` as a new object; false when allocation fails.
template <class T>
bool appendRecord(DomainList& domains, const T& record) {
    SafePointer<T> copy = protocol_detail::makeSafe<T>(record);
    if (copy.isNull()) {
        return false;
    }
    domains.push_back(SafePointer<BaseDomain>(copy));
    return true;
}

// Reads `length` bytes as a text that ends at its first zero byte.
std::string textOf(const unsigned char* bytes, unsigned length) {
    unsigned n = 0;
    while (n < length && bytes[n] != 0) {
        ++n;
    }
    return std::string(reinterpret_cast<const char*>(bytes), n);
}

}  // namespace

RemoteSnapshotRespBodyParser::~RemoteSnapshotRespBodyParser() = default;
ParamImportReqBodyParser::~ParamImportReqBodyParser() = default;
FileReadDataCommandBodyParser::~FileReadDataCommandBodyParser() = default;
COMWriteDataCommandBodyParser::~COMWriteDataCommandBodyParser() = default;
PTZOperationBodyParser::~PTZOperationBodyParser() = default;

// ---- RemoteSnapshotRespBodyParser ----

bool RemoteSnapshotRespBodyParser::createCommandBody(const DomainList& domains, CommandBuffer& out) {
    DataBuffer data;
    EtResult result;
    if (!extractDomain(data, domains) || !extractDomain(result, domains)) {
        return false;
    }
    if (data.getData() == nullptr || data.getLength() <= 0) {
        return false;
    }
    const unsigned n = static_cast<unsigned>(data.getLength());
    return allocExact(out, 8ull + n) && appendU32(out, n) &&
           appendU32(out, static_cast<uint32_t>(result.getCode())) && appendBytes(out, data.getData(), n);
}

bool RemoteSnapshotRespBodyParser::parseCommandBody(const CommandBuffer& in, DomainList& domains) {
    Reader reader = bodyReader(in);
    int32_t n = 0;
    int32_t code = 0;
    const unsigned char* bytes = nullptr;
    if (!reader.readI32(n) || !reader.readI32(code) || n <= 0 ||
        !reader.readBytes(static_cast<unsigned>(n), bytes)) {
        return false;
    }
    DataBuffer data;
    if (!data.setData(bytes, n)) {
        return false;
    }
    EtResult result;
    result.setCode(code);
    return appendRecord(domains, data) && appendRecord(domains, result);
}

// ---- ParamImportReqBodyParser ----

bool ParamImportReqBodyParser::createCommandBody(const DomainList& domains, CommandBuffer& out) {
    DataBuffer data;
    if (!extractDomain(data, domains) || data.getData() == nullptr || data.getLength() <= 0) {
        return false;
    }
    const unsigned n = static_cast<unsigned>(data.getLength());
    return allocExact(out, 4ull + n) && appendU32(out, n) && appendBytes(out, data.getData(), n);
}

bool ParamImportReqBodyParser::parseCommandBody(const CommandBuffer& in, DomainList& domains) {
    Reader reader = bodyReader(in);
    int32_t n = 0;
    const unsigned char* bytes = nullptr;
    if (!reader.readI32(n) || n <= 0 || !reader.readBytes(static_cast<unsigned>(n), bytes)) {
        return false;
    }
    DataBuffer data;
    return data.setData(bytes, n) && appendRecord(domains, data);
}

// ---- FileReadDataCommandBodyParser ----

bool FileReadDataCommandBodyParser::createCommandBody(const DomainList& domains, CommandBuffer& out) {
    EtFileDataPack pack;
    EtResult result;
    if (!extractDomain(pack, domains) || !extractDomain(result, domains)) {
        return false;
    }
    const DataBuffer& data = pack.getData();
    const unsigned n =
        (data.getData() != nullptr && data.getLength() > 0) ? static_cast<unsigned>(data.getLength()) : 0;
    return allocExact(out, 9ull + n) && appendU32(out, n) &&
           appendU8(out, static_cast<uint8_t>(pack.getFlag())) &&
           appendU32(out, static_cast<uint32_t>(result.getCode())) && appendBytes(out, data.getData(), n);
}

bool FileReadDataCommandBodyParser::parseCommandBody(const CommandBuffer& in, DomainList& domains) {
    Reader reader = bodyReader(in);
    int32_t n = 0;
    uint8_t flag = 0;
    int32_t code = 0;
    if (!reader.readI32(n) || !reader.readU8(flag) || !reader.readI32(code) || n < 0) {
        return false;
    }
    const unsigned char* bytes = nullptr;
    if (!reader.readBytes(static_cast<unsigned>(n), bytes)) {
        return false;
    }
    EtFileDataPack pack;
    pack.setFlag(flag);
    if (n > 0) {
        DataBuffer data;
        if (!data.setData(bytes, n)) {
            return false;
        }
        pack.setData(data);
    }
    EtResult result;
    result.setCode(code);
    return appendRecord(domains, pack) && appendRecord(domains, result);
}

// ---- COMWriteDataCommandBodyParser ----

bool COMWriteDataCommandBodyParser::createCommandBody(const DomainList& domains, CommandBuffer& out) {
    SafePointer<BaseDomain> found;
    if (!findDomain(kCOMWriteDataId, 0, domains, found)) {
        return false;
    }
    const auto* write = dynamic_cast<const EtCOMWriteData*>(found.get());
    if (write == nullptr) {
        return false;
    }
    ComData com = write->getComData();
    if (com.getData() == nullptr || com.getLength() <= 0) {
        return false;
    }
    const unsigned n = static_cast<unsigned>(com.getLength());
    return allocExact(out, 12ull + n) && appendU32(out, n) && appendBytes(out, com.getData(), n) &&
           appendU32(out, static_cast<uint32_t>(write->getValue1())) &&
           appendU32(out, static_cast<uint32_t>(write->getValue2()));
}

bool COMWriteDataCommandBodyParser::parseCommandBody(const CommandBuffer& in, DomainList& domains) {
    Reader reader = bodyReader(in);
    int32_t n = 0;
    const unsigned char* bytes = nullptr;
    int32_t value1 = 0;
    int32_t value2 = 0;
    if (!reader.readI32(n) || n <= 0 || !reader.readBytes(static_cast<unsigned>(n), bytes) ||
        !reader.readI32(value1) || !reader.readI32(value2)) {
        return false;
    }
    ComData com;
    if (!com.setData(bytes, n)) {
        return false;
    }
    EtCOMWriteData write;
    write.setComData(com);
    write.setValue1(value1);
    write.setValue2(value2);
    return appendRecord(domains, write);
}

// ---- PTZOperationBodyParser ----

bool PTZOperationBodyParser::createCommandBody(const DomainList& domains, CommandBuffer& out) {
    EtPTZOperation operation;
    if (!extractDomain(operation, domains)) {
        return false;
    }
    EtResult result;
    if (!extractDomain(result, domains)) {
        result.setCode(0);
    }
    const std::string& text = operation.getPTZOperation();
    const std::string& name = operation.getName();
    if (text.size() > static_cast<size_t>(INT_MAX) || name.size() > static_cast<size_t>(INT_MAX)) {
        return false;
    }
    const unsigned l1 = static_cast<unsigned>(text.size());
    const unsigned l2 = static_cast<unsigned>(name.size());
    return allocExact(out, 20ull + l1 + l2) && appendU32(out, static_cast<uint32_t>(result.getCode())) &&
           appendU32(out, static_cast<uint32_t>(operation.getCameraId())) && appendU32(out, l1) &&
           appendBytes(out, text.data(), l1) && appendU32(out, l2) && appendBytes(out, name.data(), l2) &&
           appendU32(out, static_cast<uint32_t>(operation.getPTZId()));
}

bool PTZOperationBodyParser::parseCommandBody(const CommandBuffer& in, DomainList& domains) {
    if (in.getCursor() == nullptr) {
        return false;
    }
    Reader reader = bodyReader(in);
    int32_t code = 0;
    int32_t cameraId = 0;
    uint32_t l1 = 0;
    uint32_t l2 = 0;
    const unsigned char* bytes = nullptr;
    EtPTZOperation operation;
    if (!reader.readI32(code) || !reader.readI32(cameraId) || !reader.readU32(l1)) {
        return false;
    }
    operation.setCameraId(cameraId);
    if (l1 != 0) {
        if (!reader.readBytes(l1, bytes)) {
            return false;
        }
        operation.setPTZOperation(textOf(bytes, l1));
    }
    if (!reader.readU32(l2)) {
        return false;
    }
    if (l2 != 0) {
        if (!reader.readBytes(l2, bytes)) {
            return false;
        }
        operation.setName(textOf(bytes, l2));
    }
    // PTZId is optional; one to three stray bytes are a cut field, not an absent one.
    int32_t ptzId = 1;
    if (reader.remaining() > 0 && !reader.readI32(ptzId)) {
        return false;
    }
    operation.setPTZId(ptzId);
    EtResult result;
    result.setCode(code);
    return appendRecord(domains, operation) && appendRecord(domains, result);
}

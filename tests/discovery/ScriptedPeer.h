#pragma once

// A simulated device for the search tests: a UDP socket inside a test
// namespace that records every datagram it receives and answers it as a
// script says. The answers are built with the library's own command encoder.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "domain/records/DeviceSummaryInfo.h"
#include "support/NetnsRig.h"

namespace testpeer {

using Bytes = std::vector<uint8_t>;

// One datagram that the peer received.
struct Received {
    Bytes bytes;
    std::string from;  // source address
    unsigned short fromPort = 0;
    std::string to;  // destination address (a unicast address or the group)
};

// One datagram to send. An empty `from` lets the system choose the source
// address; otherwise the datagram leaves from that local address.
struct Reply {
    Bytes bytes;
    std::string to;
    unsigned short port = 0;
    std::string from;
};

// The SDK command `commandId` with sequence `sequence` whose body holds
// `summary` (or nothing), as the library's encoder writes it.
Bytes encodeCommand(uint32_t commandId, uint16_t sequence, const DeviceSummaryInfo* summary);
// A summary with the given id, product model and time, and some more fields.
DeviceSummaryInfo makeSummary(const std::string& id, const std::string& model = "IPC-1",
                              const std::string& time = "2024-01-01 00:00:00");
// The 24-byte SDK head with a correct check byte.
Bytes sdkHead(uint32_t commandId, uint16_t sequence, uint32_t payloadLength);
// The command identifier and sequence of an SDK datagram (false when shorter than a head).
bool readHead(const Bytes& bytes, uint32_t& commandId, uint16_t& sequence);

// Malformed datagrams that must never hurt an engine, by name.
struct BadInput {
    std::string name;
    Bytes bytes;
};
// `answerCommand` is the identifier that a good answer would carry.
std::vector<BadInput> badInputs(uint32_t answerCommand);

// Waits until every link of the rig carries traffic (the kernel reports a new
// link running a moment after it comes up, and drops what is sent before).
bool waitRigRunning(const testsupport::NetnsRig& rig,
                    std::chrono::milliseconds limit = std::chrono::milliseconds(5000));

class ScriptedPeer {
  public:
    using Script = std::function<std::vector<Reply>(const Received&)>;

    // Binds the wildcard address and `port` inside `ns`; with a non-empty
    // `joinAddress` also joins 234.5.6.7 on the interface of that address.
    ScriptedPeer(const testsupport::Netns& ns, unsigned short port, const std::string& joinAddress = "");
    ~ScriptedPeer();
    ScriptedPeer(const ScriptedPeer&) = delete;
    ScriptedPeer& operator=(const ScriptedPeer&) = delete;

    // Answers every datagram received from now on.
    void setScript(Script script);
    // Sends datagrams from the peer's socket now.
    void send(const std::vector<Reply>& replies);

    std::vector<Received> received();
    size_t count();
    void clear();
    // Waits until at least `n` datagrams have been received.
    bool waitFor(size_t n, std::chrono::milliseconds limit);

  private:
    void loop();
    void sendNow(const std::vector<Reply>& replies);

    int m_nFd = -1;
    std::atomic<bool> m_bStop{false};
    std::mutex m_mutex;
    std::condition_variable m_cv;
    std::vector<Received> m_received;
    Script m_script;
    std::unique_ptr<testsupport::NetnsThread> m_pThread;
};

}  // namespace testpeer

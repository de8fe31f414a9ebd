#pragma once

// The transfer seam: a network in memory for driving the discovery engines
// in-process. A FakeNetwork registers a transfer factory under key 1 of the
// transfer factory map (in place of the datagram transfer) and a list of
// adapters for the adapter query; its destructor puts both back. Its
// transfers record what the engines send and receive what a test delivers.
// A transfer's handle is a real descriptor (one end of a socket pair) that is
// readable while datagrams are queued, so readiness sets and poll() work on
// it as on a socket.

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "transport/AdapterQuery.h"
#include "transport/TransferFactory.h"

namespace testsupport {

using Bytes = std::vector<uint8_t>;

struct FakeDatagram {
    FakeDatagram() = default;
    FakeDatagram(std::string from, unsigned short fromP, std::string to, unsigned short toP, Bytes data,
                 std::string viaAdapter = std::string())
        : fromIp(std::move(from)),
          fromPort(fromP),
          toIp(std::move(to)),
          toPort(toP),
          bytes(std::move(data)),
          via(std::move(viaAdapter)) {}

    std::string fromIp;
    unsigned short fromPort = 0;
    std::string toIp;  // a unicast address or a group
    unsigned short toPort = 0;
    Bytes bytes;
    // For a group: the adapter address it arrives on (empty: every adapter).
    std::string via;
    // Instead of a datagram, the receive that takes it returns this code.
    int failure = 0;
    // When it was sent (datagrams the engines sent).
    std::chrono::steady_clock::time_point at;
};

// Steps of opening a transfer, and a send, that a test can make fail.
enum class FakeStep { Create, Open, Bind, Join, Throw, Send };

class FakeTransfer;

// It is the transfer factory registered under key 1.
class FakeNetwork : private ITransferFactory {
    template <class F>
    auto locked(F f) {
        std::lock_guard<std::mutex> guard(m_lock);
        return f();
    }

  public:
    // Two adapters by default: lanA 192.0.2.1 and lanB 198.51.100.1.
    explicit FakeNetwork(std::vector<AdapterEntry> adapters = {{"lanA", {"192.0.2.1"}},
                                                               {"lanB", {"198.51.100.1"}}});
    ~FakeNetwork();
    FakeNetwork(const FakeNetwork&) = delete;
    FakeNetwork& operator=(const FakeNetwork&) = delete;

    // Called for every datagram sent, on the sending thread, after it was
    // recorded; it may deliver answers.
    void setResponder(std::function<void(const FakeDatagram&)> responder) {
        locked([&] { m_responder = std::move(responder); });
    }
    // Queues `d` on every open transfer it reaches: unicast to the transfers
    // bound to its address (or the wildcard address) and port; a group to the
    // transfers bound to its port that joined it, on adapter `via` if given.
    // The number of transfers reached.
    int deliver(const FakeDatagram& d);
    // Queues an answer on the transfer that sent `query`.
    int reply(const FakeDatagram& query, const std::string& fromIp, const Bytes& bytes);

    std::vector<FakeDatagram> sent() {
        return locked([&] { return m_sent; });
    }
    // Waits until at least `count` datagrams were sent (5 s at most).
    std::vector<FakeDatagram> waitSent(size_t count);
    void clearSent() {
        locked([&] { m_sent.clear(); });
    }
    // Transfers open now.
    size_t openCount() {
        return locked([&] { return m_transfers.size(); });
    }

    // Makes the next `step` of a transfer on local address `address` (any
    // address when empty) fail; a failing Bind or Open returns `code`. For
    // Send, `address` is the destination, and the send returns -210 with
    // errno set to `code`.
    void failNext(FakeStep step, const std::string& address = "", int code = -1) {
        locked([&] { m_failures.push_back({step, address, code}); });
    }

  private:
    friend class FakeTransfer;
    struct Failure {
        FakeStep step;
        std::string address;
        int code;
    };
    ITransfer* createTransfer(int ipVersion) override;
    // The code of a pending failure of `step` at `address`, consumed; 0 when none.
    int takeFailure(FakeStep step, const std::string& address);
    void recordSend(const FakeDatagram& d);

    std::mutex m_lock;
    std::condition_variable m_sentSignal;
    std::set<FakeTransfer*> m_transfers;
    std::vector<FakeDatagram> m_sent;
    std::vector<Failure> m_failures;
    std::function<void(const FakeDatagram&)> m_responder;
    unsigned short m_nNextPort = 50000;
    ITransferFactory* m_pPrevious;
};

}  // namespace testsupport

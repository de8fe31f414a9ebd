// Finds network video devices with both searches of libdevsearch and prints
// one line per device. It uses nothing but the library's public headers.
//
//   qt_search_example [--network-name NAME] [--start-ip A --end-ip B] [--port P]
//                     [--expect-multicast N] [--expect-range N] [--seconds S]
//
// Without --network-name the multicast search runs on every adapter. With
// --start-ip and --end-ip a range search runs as well. The program ends when
// it has seen the expected number of devices from each search (exit status 0)
// or after --seconds (exit status 1 if it saw fewer than expected).
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTimer>

#include <cstdio>
#include <set>
#include <string>
#include <utility>

#include "devsearch/DeviceSearch.h"

namespace {

struct Found {
    std::set<std::pair<std::string, std::string>> multicast;  // (device id, address)
    std::set<std::pair<std::string, std::string>> range;
};

void print(const char* search, const NetVideoDeviceInfo& d) {
    std::printf("%-9s %-16s %5u  %-20s %-12s hw %-10s sw %-10s %s\n", search, d.getDeviceIP().c_str(),
                d.getDevicePort(), d.getDeviceId().c_str(), d.getProductModel().c_str(),
                d.getHardwareVer().c_str(), d.getSoftwareVer().c_str(), d.getMACAddr().c_str());
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QCommandLineParser options;
    options.setApplicationDescription("Finds network video devices with libdevsearch.");
    options.addHelpOption();
    const QCommandLineOption networkName("network-name", "Search on this adapter only.", "name");
    const QCommandLineOption startIp("start-ip", "First address of a range search.", "address");
    const QCommandLineOption endIp("end-ip", "Last address of a range search.", "address");
    const QCommandLineOption port("port", "Port of the range search (30001).", "port", "30001");
    const QCommandLineOption expectMulticast("expect-multicast", "Devices the multicast search should find.",
                                             "n", "0");
    const QCommandLineOption expectRange("expect-range", "Devices the range search should find.", "n", "0");
    const QCommandLineOption seconds("seconds", "Time limit (10).", "seconds", "10");
    options.addOptions({networkName, startIp, endIp, port, expectMulticast, expectRange, seconds});
    options.process(app);

    const int wantMulticast = options.value(expectMulticast).toInt();
    const int wantRange = options.value(expectRange).toInt();
    Found found;
    auto done = [&] {
        return static_cast<int>(found.multicast.size()) >= wantMulticast &&
               static_cast<int>(found.range.size()) >= wantRange && (wantMulticast > 0 || wantRange > 0);
    };

    DeviceSearch* search = DeviceSearch::GetInstance();
    // The records come from the library's threads; these connections queue
    // them to this thread.
    QObject::connect(search->getIPsearchListener(), &QIPsearchListener::IPSearchSend, &app,
                     [&](const NetVideoDeviceInfo& d) {
                         if (found.multicast.insert({d.getDeviceId(), d.getDeviceIP()}).second)
                             print("multicast", d);
                         if (done()) app.quit();
                     });
    QObject::connect(search->getDeviceSearcherListener(), &QDeviceSearcherListener::IPSearchSend, &app,
                     [&](const NetVideoDeviceInfo& d) {
                         if (found.range.insert({d.getDeviceId(), d.getDeviceIP()}).second) print("range", d);
                         if (done()) app.quit();
                     });

    if (options.isSet(networkName)) {
        search->setNetWorkType(1);
        search->setNetWorkName(options.value(networkName));
    } else {
        search->setNetWorkType(0);
    }
    search->startSearch(false);  // -1 in every case; records tell whether it works

    if (options.isSet(startIp) && options.isSet(endIp)) {
        search->setStartIP(options.value(startIp));
        search->setEndIP(options.value(endIp));
        search->setPort(static_cast<unsigned short>(options.value(port).toUInt()));
        const int started = search->startSearch(true);
        if (started != 0) std::fprintf(stderr, "range search did not start: %d\n", started);
    }

    QTimer::singleShot(options.value(seconds).toInt() * 1000, &app, &QCoreApplication::quit);
    app.exec();
    search->stopSearch(true);

    std::printf("found %zu by multicast, %zu by range\n", found.multicast.size(), found.range.size());
    return static_cast<int>(found.multicast.size()) >= wantMulticast &&
                   static_cast<int>(found.range.size()) >= wantRange
               ? 0
               : 1;
}

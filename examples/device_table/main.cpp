// A window that lists the devices libdevsearch finds: a table view on the
// library's DeviceListModel, a multicast search on all adapters or one, and a
// range search whose progress bar follows the addresses done.
//
//   device_table [--network-name NAME] [--start-ip A --end-ip B] [--port P]
//                [--auto --expect N [--screenshot FILE] [--seconds S]]
//
// The options fill the window's fields. With --auto the window runs both
// searches by itself, the range search first and then the multicast search;
// once N devices have been reported by both, it prints the table's rows on
// standard output, saves a picture of itself to FILE (PNG) and quits with
// status 0, or with status 1 when S seconds (default 15) pass first.
#include <QApplication>
#include <QComboBox>
#include <QCommandLineParser>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QNetworkInterface>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>

#include <cstdio>
#include <set>
#include <string>
#include <utility>

#include "devsearch/DeviceListModel.h"
#include "devsearch/DeviceSearch.h"

namespace {

// The window's controls, made and laid out once.
struct Window {
    QWidget root;
    QComboBox adapter;
    QPushButton search{QObject::tr("Search")};
    QLineEdit startIp;
    QLineEdit endIp;
    QSpinBox port;
    QPushButton searchRange{QObject::tr("Search range")};
    QProgressBar progress;
    QTableView table;
    QLabel status;

    explicit Window(DeviceListModel& model) {
        root.setWindowTitle(QObject::tr("Devices"));
        adapter.addItem(QObject::tr("All adapters"));
        for (const QNetworkInterface& i : QNetworkInterface::allInterfaces()) adapter.addItem(i.name());
        startIp.setPlaceholderText(QObject::tr("first address"));
        endIp.setPlaceholderText(QObject::tr("last address"));
        port.setRange(1, 65535);
        port.setValue(30001);
        progress.setFormat(QObject::tr("%v/%m addresses"));
        progress.setValue(0);
        table.setModel(&model);
        table.setSelectionBehavior(QAbstractItemView::SelectRows);
        table.setWordWrap(false);
        table.verticalHeader()->hide();
        table.horizontalHeader()->setStretchLastSection(true);

        auto* multicastRow = new QHBoxLayout;  // each layout goes to its parent
        multicastRow->addWidget(new QLabel(QObject::tr("Adapter")));
        multicastRow->addWidget(&adapter, 1);
        multicastRow->addWidget(&search);
        auto* rangeRow = new QHBoxLayout;
        rangeRow->addWidget(new QLabel(QObject::tr("Range")));
        rangeRow->addWidget(&startIp);
        rangeRow->addWidget(&endIp);
        rangeRow->addWidget(new QLabel(QObject::tr("Port")));
        rangeRow->addWidget(&port);
        rangeRow->addWidget(&searchRange);
        rangeRow->addWidget(&progress, 1);
        auto* column = new QVBoxLayout(&root);
        column->addLayout(multicastRow);
        column->addLayout(rangeRow);
        column->addWidget(&table, 1);
        column->addWidget(&status);
        root.resize(960, 320);
    }
};

}  // namespace

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    QCommandLineParser options;
    options.setApplicationDescription("Lists the network video devices that libdevsearch finds.");
    options.addHelpOption();
    const QCommandLineOption networkName("network-name", "Adapter of the multicast search.", "name");
    const QCommandLineOption startIp("start-ip", "First address of the range search.", "address");
    const QCommandLineOption endIp("end-ip", "Last address of the range search.", "address");
    const QCommandLineOption port("port", "Port of the range search (30001).", "port", "30001");
    const QCommandLineOption autoRun("auto", "Run both searches, print the rows and quit.");
    const QCommandLineOption expect("expect", "Devices that --auto waits for.", "n", "1");
    const QCommandLineOption screenshot("screenshot", "PNG file of the window that --auto saves.", "file");
    const QCommandLineOption seconds("seconds", "Time limit of --auto (15).", "seconds", "15");
    options.addOptions({networkName, startIp, endIp, port, autoRun, expect, screenshot, seconds});
    options.process(app);

    DeviceSearch* search = DeviceSearch::GetInstance();
    DeviceListModel model;
    Window w(model);
    if (options.isSet(networkName)) w.adapter.setCurrentText(options.value(networkName));
    w.startIp.setText(options.value(startIp));
    w.endIp.setText(options.value(endIp));
    w.port.setValue(options.value(port).toInt());

    bool multicastRunning = false;
    auto showCount = [&] { w.status.setText(QObject::tr("%n device(s)", nullptr, model.rowCount())); };
    QObject::connect(&model, &QAbstractItemModel::rowsInserted, &w.root, [&] {
        w.table.resizeColumnsToContents();
        showCount();
    });
    QObject::connect(&model, &QAbstractItemModel::dataChanged, &w.root,
                     [&] { w.table.resizeColumnsToContents(); });
    QObject::connect(&model, &QAbstractItemModel::rowsRemoved, &w.root, showCount);
    QObject::connect(&w.search, &QPushButton::clicked, &w.root, [&] {
        if (multicastRunning) {
            search->stopSearch(false);  // the rows stay
        } else {
            search->setNetWorkType(w.adapter.currentIndex() == 0 ? 0 : 1);
            search->setNetWorkName(w.adapter.currentText());
            model.startSearch(false);
        }
        multicastRunning = !multicastRunning;
        w.search.setText(multicastRunning ? QObject::tr("Stop") : QObject::tr("Search"));
    });
    QObject::connect(&w.searchRange, &QPushButton::clicked, &w.root, [&] {
        search->setStartIP(w.startIp.text());
        search->setEndIP(w.endIp.text());
        search->setPort(static_cast<unsigned short>(w.port.value()));
        w.progress.setValue(0);
        const int result = model.startSearch(true);
        w.searchRange.setEnabled(result != 0);
        if (result != 0) w.status.setText(QObject::tr("The range search did not start (%1).").arg(result));
    });
    // The range search's thread reports its progress; these arrive queued.
    auto showPass = [&](int done, int total) {
        w.progress.setRange(0, total);
        w.progress.setValue(done);
    };
    QRangeSearchProgress* pass = search->getRangeSearchProgress();
    QObject::connect(pass, &QRangeSearchProgress::progress, &w.root,
                     [&](int done, int total, int) { showPass(done, total); });
    QObject::connect(pass, &QRangeSearchProgress::finished, &w.root, [&](int done, int total, int) {
        showPass(done, total);
        w.searchRange.setEnabled(true);
    });

    if (options.isSet(autoRun)) {
        const size_t want = options.value(expect).toUInt();
        std::set<std::pair<std::string, std::string>> multicastSeen;
        // Counts what the multicast search reports; the model gets each
        // record first, since it connected first.
        QObject::connect(search->getIPsearchListener(), &QIPsearchListener::IPSearchSend, &w.root,
                         [&](const NetVideoDeviceInfo& d) {
                             if (!multicastSeen.insert({d.getDeviceId(), d.getDeviceIP()}).second) return;
                             if (multicastSeen.size() < want || model.rowCount() < static_cast<int>(want))
                                 return;
                             // Let the view lay out its new rows before the picture.
                             QTimer::singleShot(300, &w.root, [&] {
                                 for (int row = 0; row < model.rowCount(); ++row) {
                                     QStringList cells;
                                     for (int c = 0; c < model.columnCount(); ++c)
                                         cells << model.index(row, c).data().toString();
                                     std::printf("%s\n", qPrintable(cells.join('\t')));
                                 }
                                 std::printf("range %d/%d\n", w.progress.value(), w.progress.maximum());
                                 std::fflush(stdout);
                                 const bool saved = !options.isSet(screenshot) ||
                                                    w.root.grab().save(options.value(screenshot), "PNG");
                                 app.exit(saved ? 0 : 1);
                             });
                         });
        // The range search first; the multicast search when its pass is over.
        QObject::connect(pass, &QRangeSearchProgress::finished, &w.root, [&] {
            if (!multicastRunning) w.search.click();
        });
        QTimer::singleShot(0, &w.searchRange, &QPushButton::click);
        QTimer::singleShot(options.value(seconds).toInt() * 1000, &app, [&] { app.exit(1); });
    }

    w.root.show();
    const int status = app.exec();
    search->stopSearch(true);
    return status;
}

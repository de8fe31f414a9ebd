// Uses an installed libdevsearch without any network: a record through the
// range listener object into the device list model, and back by its role.
#include <QCoreApplication>

#include <cstdio>

#include "devsearch/DeviceListModel.h"
#include "devsearch/DeviceSearch.h"
#include "devsearch/LibraryVersion.h"

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    DeviceListModel model;
    NetVideoDeviceInfo sent;
    sent.setDeviceId("C1");
    sent.setDeviceIP("192.0.2.1");
    sent.setHardwareVer("hw-1");
    DeviceSearch::GetInstance()->getDeviceSearcherListener()->onSearchResult(sent);
    QCoreApplication::processEvents();
    const NetVideoDeviceInfo got = model.index(0, DeviceListModel::ModelColumn)
                                       .data(DeviceListModel::RecordRole)
                                       .value<NetVideoDeviceInfo>();
    std::printf("libdevsearch %s, headers %s: %d row, hardware %s\n", devsearch_version(),
                DEVSEARCH_VERSION_STRING, model.rowCount(), got.getHardwareVer().c_str());
    return model.rowCount() == 1 && got == sent ? 0 : 1;
}

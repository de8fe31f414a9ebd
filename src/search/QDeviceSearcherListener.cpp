#include "devsearch/QDeviceSearcherListener.h"

QDeviceSearcherListener::QDeviceSearcherListener(QObject* parent) : QObject(parent) {
    qRegisterMetaType<NetVideoDeviceInfo>("NetVideoDeviceInfo");
}

QDeviceSearcherListener::~QDeviceSearcherListener() = default;

int QDeviceSearcherListener::onSearchResult(const NetVideoDeviceInfo& record) {
    const NetVideoDeviceInfo copy(record);
    Q_EMIT IPSearchSend(copy);
    return 0;
}

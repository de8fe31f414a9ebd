#include "devsearch/QIPsearchListener.h"

#include <QString>

#include "domain/records/DeviceSummaryInfo.h"
#include "domain/records/Version.h"

QIPsearchListener::QIPsearchListener(QObject* parent) : QObject(parent) {
    qRegisterMetaType<NetVideoDeviceInfo>("NetVideoDeviceInfo");
}

QIPsearchListener::~QIPsearchListener() = default;

void QIPsearchListener::onDeviceDiscovered(const DeviceSummaryInfo& record) {
    NetVideoDeviceInfo info;
    info.setDeviceId(record.getDeviceId());
    info.setDeviceType(record.getDeviceType());
    info.setDeviceIP(record.getDeviceIP());
    info.setDevicePort(record.getDevicePort());
    // The summary carries the HTTP port as text; text that is no decimal number gives 0.
    const int httpPort = QString::fromStdString(record.getHttpPort()).toInt(nullptr, 10);
    info.setHttpPort(static_cast<unsigned short>(httpPort & 0xFFFF));
    Version version;
    version.setHardwareVer(record.getHardWareInfo());
    version.setSoftwareVer(record.getSoftWareInfo());
    info.setVersion(version);
    info.setManufacturerId(record.getManufacturerId());
    info.setManufacturerName(record.getManufacturerName());
    info.setProductModel(record.getProductModel());
    info.setDeviceTime(record.getDeviceTime());
    info.setDeviceName(record.getDeviceName());
    info.setSN(record.getSN());
    info.setUpdatePort(record.getUpdatePort());
    info.setMACAddr(record.getMACAddr());

    // A record without a product model names no device the application can
    // use (a broadcast announcement has none).
    if (info.getProductModel().empty()) return;
    Q_EMIT IPSearchSend(info);
}

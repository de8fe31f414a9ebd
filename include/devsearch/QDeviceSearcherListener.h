#pragma once

#include <QObject>

#include "devsearch/DeviceSearchListener.h"
#include "devsearch/Export.h"
#include "devsearch/NetVideoDeviceInfo.h"
#include "devsearch/NetVideoDeviceInfoMetaType.h"

// Receives the records of the range search on its thread and re-emits each
// one as the signal IPSearchSend. A receiver on another thread gets a queued
// connection and its own copy of the record.
class DEVSEARCH_EXPORT QDeviceSearcherListener : public QObject, public IDeviceSearcherListener {
    Q_OBJECT

  public:
    explicit QDeviceSearcherListener(QObject* parent = nullptr);
    ~QDeviceSearcherListener() override;

    // Emits a copy of the record; the result is 0.
    int onSearchResult(const NetVideoDeviceInfo& record) override;

  Q_SIGNALS:
    void IPSearchSend(NetVideoDeviceInfo record);
};

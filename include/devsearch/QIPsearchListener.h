#pragma once

#include <QObject>

#include "devsearch/DeviceSearchListener.h"
#include "devsearch/Export.h"
#include "devsearch/NetVideoDeviceInfo.h"
#include "devsearch/NetVideoDeviceInfoMetaType.h"

// Receives the records of the multicast search on the engines' threads and
// re-emits each one as the signal IPSearchSend. A receiver on another thread
// gets a queued connection and its own copy of the record. It keeps no state,
// so the two multicast engines may call it at the same time.
class DEVSEARCH_EXPORT QIPsearchListener : public QObject, public IDeviceDiscoveryListener {
    Q_OBJECT

  public:
    explicit QIPsearchListener(QObject* parent = nullptr);
    ~QIPsearchListener() override;

    // Turns the summary into a NetVideoDeviceInfo and emits it; a record
    // without a product model is dropped.
    void onDeviceDiscovered(const DeviceSummaryInfo& record) override;

  Q_SIGNALS:
    void IPSearchSend(NetVideoDeviceInfo record);
};

#pragma once

#include <QObject>

#include "devsearch/DeviceSearchListener.h"
#include "devsearch/Export.h"

// Tells how far the range search has come and when its pass has ended, as
// signals. The search thread calls it; a receiver on another thread gets
// queued connections, and since the records of IPSearchSend come from the
// same thread, every record of a pass has been delivered before its finished
// signal. Counts: addresses done (answered, or given up when their batch's
// wait, or in a fast scan their own 3 s, ended), addresses in the pass, and
// devices reported.
class DEVSEARCH_EXPORT QRangeSearchProgress : public QObject, public IRangeSearchProgressListener {
    Q_OBJECT

  public:
    explicit QRangeSearchProgress(QObject* parent = nullptr);
    ~QRangeSearchProgress() override;

    void onRangeProgress(int done, int total, int found) override;
    void onRangeFinished(int done, int total, int found) override;

  Q_SIGNALS:
    // After every answer and at the end of every batch (in a fast scan:
    // after every 400 addresses given up).
    void progress(int done, int total, int found);
    // Once per run: the pass is complete, or the run was stopped (done is
    // then below total).
    void finished(int done, int total, int found);
};

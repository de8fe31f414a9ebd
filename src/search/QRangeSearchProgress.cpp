#include "devsearch/QRangeSearchProgress.h"

QRangeSearchProgress::QRangeSearchProgress(QObject* parent) : QObject(parent) {}

QRangeSearchProgress::~QRangeSearchProgress() = default;

void QRangeSearchProgress::onRangeProgress(int done, int total, int found) {
    Q_EMIT progress(done, total, found);
}

void QRangeSearchProgress::onRangeFinished(int done, int total, int found) {
    Q_EMIT finished(done, total, found);
}

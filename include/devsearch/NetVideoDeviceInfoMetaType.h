#pragma once

#include <QMetaType>

#include "devsearch/NetVideoDeviceInfo.h"

// NetVideoDeviceInfo is known to Qt's meta type system under its own name, so
// that a queued connection of IPSearchSend carries a full copy. The listener
// objects register it at run time when they are made.
Q_DECLARE_METATYPE(NetVideoDeviceInfo)

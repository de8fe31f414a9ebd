#pragma once

#include "devsearch/Export.h"

// An exported class without members, kept for applications that name it.
class DEVSEARCH_EXPORT Kestrand {
  public:
    Kestrand();
    Kestrand(const Kestrand& other);
    ~Kestrand();
    Kestrand& operator=(const Kestrand& other);
};

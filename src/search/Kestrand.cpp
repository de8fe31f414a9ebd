#include "devsearch/Kestrand.h"

Kestrand::Kestrand() = default;

Kestrand::Kestrand(const Kestrand&) {}

Kestrand::~Kestrand() = default;

Kestrand& Kestrand::operator=(const Kestrand&) {
    return *this;
}

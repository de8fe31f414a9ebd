#pragma once

#include <memory>
#include <new>
#include <utility>

#include "Product/Technic/SafePointer.h"

namespace protocol_detail {

// A new T held by a SafePointer; empty when allocation fails. If the
// registration throws, the object is deleted here rather than leaked.
template <class T, class... Args>
SafePointer<T> makeSafe(Args&&... args) {
    std::unique_ptr<T> owned(new (std::nothrow) T(std::forward<Args>(args)...));
    if (!owned) {
        return SafePointer<T>();
    }
    SafePointer<T> held(owned.get());
    owned.release();
    return held;
}

// Takes ownership of `raw` (may be null: gives an empty pointer).
template <class T>
SafePointer<T> adoptSafe(T* raw) {
    std::unique_ptr<T> owned(raw);
    if (!owned) {
        return SafePointer<T>();
    }
    SafePointer<T> held(owned.get());
    owned.release();
    return held;
}

}  // namespace protocol_detail

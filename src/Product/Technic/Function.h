#pragma once

#include <memory>
#include <type_traits>
#include <utility>

#include "Product/Technic/SafePointer.h"

// The toolkit's small family of nullary function objects.

template <class R>
class function_obj_base {
  public:
    virtual ~function_obj_base() = default;
    virtual R operator()() = 0;
};

template <class R, class F>
class function_obj : public function_obj_base<R> {
  public:
    explicit function_obj(F f) : m_objFunction(std::move(f)) {}
    R operator()() override { return m_objFunction(); }

  private:
    F m_objFunction;
};

// A member function bound to an object that it does not own.
template <class R, class T>
class bind_funcobj0 {
  public:
    bind_funcobj0(R (T::*method)(), T* object) : m_pMethod(method), m_pObject(object) {}
    R operator()() const { return (m_pObject->*m_pMethod)(); }

  private:
    R (T::*m_pMethod)();
    T* m_pObject;
};

// A callable value. Copies share one callable through a SafePointer, so every
// function costs one registry entry however often it is copied.
template <class R>
class function {
  public:
    // Wraps a free function that returns a zero R.
    function() : m_pObject(wrap(std::make_unique<function_obj<R, R (*)()>>(&function::zero))) {}

    // Calls method on object; the object is not owned.
    template <class T>
    function(R (T::*method)(), T* object)
        : m_pObject(wrap(
              std::make_unique<function_obj<R, bind_funcobj0<R, T>>>(bind_funcobj0<R, T>(method, object)))) {}

    // Any other callable without arguments whose result converts to R.
    template <class F, class = typename std::enable_if<
                           !std::is_same<typename std::decay<F>::type, function>::value &&
                           std::is_convertible<typename std::invoke_result<F&>::type, R>::value>::type>
    function(F f)
        : m_pObject(wrap(std::make_unique<function_obj<R, typename std::decay<F>::type>>(std::move(f)))) {}

    function(const function&) = default;
    function(function&&) = default;
    function& operator=(const function&) = default;
    function& operator=(function&&) = default;
    virtual ~function() = default;

    R operator()() const { return (*m_pObject)(); }

  private:
    static R zero() { return R(); }

    template <class U>
    static SafePointer<function_obj_base<R>> wrap(std::unique_ptr<U> object) {
        return adoptSafePointer<function_obj_base<R>>(std::move(object));
    }

    SafePointer<function_obj_base<R>> m_pObject;
};

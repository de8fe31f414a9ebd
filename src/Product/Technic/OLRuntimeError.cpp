#include "Product/Technic/OLRuntimeError.h"

OLRuntimeError::OLRuntimeError(const char* const& text) : m_strText(text == nullptr ? "" : text) {}

OLRuntimeError::OLRuntimeError(const std::string& text) : m_strText(text) {}

OLRuntimeError::OLRuntimeError(const OLRuntimeError& other)
    : std::exception(other), m_strText(other.m_strText) {}

OLRuntimeError& OLRuntimeError::operator=(const OLRuntimeError& other) = default;

OLRuntimeError::~OLRuntimeError() = default;

const char* OLRuntimeError::what() const noexcept {
    return m_strText.c_str();
}

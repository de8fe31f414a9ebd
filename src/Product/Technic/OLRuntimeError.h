#pragma once

#include <exception>
#include <string>

// The toolkit's exception: a std::exception that carries a text. Thrown for
// misuse only (safe pointer reports and registry limits), never for network
// failures or bad data.
class OLRuntimeError : public std::exception {
  public:
    // A null pointer gives an empty text.
    explicit OLRuntimeError(const char* const& text);
    explicit OLRuntimeError(const std::string& text);
    OLRuntimeError(const OLRuntimeError& other);
    OLRuntimeError& operator=(const OLRuntimeError& other);
    ~OLRuntimeError() override;

    const char* what() const noexcept override;

  private:
    std::string m_strText;
};

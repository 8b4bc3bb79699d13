// Exceptions of the library.
#include "KtException.h"

#include <cstring>
#include <memory>
#include <string>

#include "KtOutputStream.h"

KtException::KtException(const char* message) : m_Message(message ? message : "") {}
KtException::KtException(const KtException& other) : KtObject(), std::exception(), m_Message(other.m_Message) {}
KtException::~KtException() {}
KtException* KtException::clone() const { return new KtException(*this); }
void KtException::display(KtOutputStream& out, bool) const { out << m_Message; }
void KtException::raise() const { throw *this; }
void KtException::sThrow(const char* message) { throw KtException(message); }
void KtException::sThrow(KtException* exception) {
    std::unique_ptr<KtException> owned(exception);
    if (!owned) throw KtException("null exception thrown");
    owned->raise();
    __builtin_unreachable();
}

namespace {
std::string systemErrorText(const char* call, int error) {
    char buffer[256];
    const char* text = strerror_r(error, buffer, sizeof(buffer));  // GNU form returns the text
    return std::string(call ? call : "(unknown call)") + " failed: " + (text ? text : "unknown error");
}
}  // namespace

KtSystemError::KtSystemError(const char* call, int error)
    : KtException(systemErrorText(call, error).c_str()), m_Call(call ? call : ""), m_Error(error) {}
KtSystemError* KtSystemError::clone() const { return new KtSystemError(*this); }
void KtSystemError::raise() const { throw *this; }
void KtSystemError::sThrow(const char* call, int error) { throw KtSystemError(call, error); }

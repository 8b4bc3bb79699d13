// Exceptions of the library.
#ifndef KTSIP_KT_EXCEPTION_H
#define KTSIP_KT_EXCEPTION_H

#include <exception>

#include "KtString.h"

/// The base of every exception the library throws: an object carrying a message.
/// Exceptions are thrown by value and caught by reference (`catch (const KtException& e)`).
class KtException : public KtObject, public std::exception {
public:
    explicit KtException(const char* message = "");
    KtException(const KtException& other);
    ~KtException() override;
    KtException* clone() const override;

    /// The message text.
    const char* getMessage() const noexcept { return m_Message.c_str(); }
    const char* what() const noexcept override { return getMessage(); }
    /// Writes the message.
    void display(KtOutputStream& out, bool verbose = false) const override;
    void display(KtOutputStream& out) const { display(out, false); }

    /// Throws this exception's copy with its dynamic type (each subclass overrides it).
    [[noreturn]] virtual void raise() const;

    /// Throws a new KtException carrying `message`.
    [[noreturn]] static void sThrow(const char* message);
    /// Throws `exception` with its dynamic type and deletes it.
    [[noreturn]] static void sThrow(KtException* exception);

private:
    KtString m_Message;
};

/// A failed operating-system call, named by the call.
class KtSystemError : public KtException {
public:
    KtSystemError(const char* call, int error);
    KtSystemError* clone() const override;
    [[noreturn]] void raise() const override;

    /// The name of the failed call (for example "pthread_mutex_init").
    const char* getCallName() const noexcept { return m_Call.c_str(); }
    /// The error number the call reported.
    int getErrorCode() const noexcept { return m_Error; }

    /// Throws a KtSystemError for `call` failing with `error`; the message reads
    /// "<call> failed: <system text>".
    [[noreturn]] static void sThrow(const char* call, int error);

private:
    KtString m_Call;
    int m_Error;
};

#endif

// The boilerplate of the method classes, written once.
#ifndef KTSIP_KT_SIP_METHOD_MESSAGE_H
#define KTSIP_KT_SIP_METHOD_MESSAGE_H

#include "KtSipMsgConstructor.h"
#include "KtSipRequest.h"
#include "KtSipResponse.h"

/// Base of a request class of one method. `Derived` declares
/// `static const KtString sMethodName;` and a public copy constructor; its source file
/// defines the name and registers the class with KT_SIP_METHOD_REGISTER.
template <class Derived>
class KtSipMethodMessage : public KtSipRequest {
public:
    /// A deep copy of the request, of class Derived.
    KtSipRequest* clone() const override { return new Derived(static_cast<const Derived&>(*this)); }

    // The request-building constructors of KtSipRequest with the class's method. A method
    // class makes them its own with `using KtSipMethodMessage<Derived>::KtSipMethodMessage;`.

    /// From, To and Contact parsed from text (see KtSipRequest).
    KtSipMethodMessage(const char* from, const char* to, const char* contact, const char* callId = nullptr,
                       unsigned int cseq = 0, const char* contentType = nullptr, const void* body = nullptr,
                       unsigned int length = 0)
        : KtSipRequest(Derived::sMethodName, from, to, contact, callId, cseq, contentType, body, length) {}
    /// The given From, To and Contact objects (see KtSipRequest).
    KtSipMethodMessage(KtHandle<KtSipFromHeader> from, KtHandle<KtSipToHeader> to,
                       KtHandle<KtSipContactHeader> contact, const char* callId = nullptr, unsigned int cseq = 0,
                       const char* contentType = nullptr, const void* body = nullptr, unsigned int length = 0)
        : KtSipRequest(Derived::sMethodName, from, to, contact, callId, cseq, contentType, body, length) {}
    /// A request to the URI of `target` (see KtSipRequest).
    KtSipMethodMessage(KtHandle<KtSipNameAddress> target, KtHandle<KtSipFromHeader> from,
                       KtHandle<KtSipToHeader> to, KtHandle<KtSipContactHeader> contact, const char* callId = nullptr,
                       unsigned int cseq = 0, const char* contentType = nullptr, const void* body = nullptr,
                       unsigned int length = 0)
        : KtSipRequest(Derived::sMethodName, target, from, to, contact, callId, cseq, contentType, body, length) {}
    /// A request to `uri` (see KtSipRequest).
    KtSipMethodMessage(KtHandle<KtURI> uri, KtHandle<KtSipFromHeader> from, KtHandle<KtSipToHeader> to,
                       KtHandle<KtSipContactHeader> contact, const char* callId = nullptr, unsigned int cseq = 0,
                       const char* contentType = nullptr, const void* body = nullptr, unsigned int length = 0)
        : KtSipRequest(Derived::sMethodName, uri, from, to, contact, callId, cseq, contentType, body, length) {}

protected:
    /// An empty request of the class's method (the form the factory creates).
    KtSipMethodMessage() : KtSipRequest(Derived::sMethodName) {}
    KtSipMethodMessage(const KtSipMethodMessage& other) = default;
    /// The request of an ACK or PRACK for `response` (see initAcknowledgement), built under
    /// the trace scope "Derived ctor" of `logger`. Throws KtSipParseError "Handle to
    /// response is NIL" for a nil response.
    KtSipMethodMessage(const KtHandle<KtSipResponse>& response, const char* refusal, unsigned int increment,
                       const void* body, const char* contentType, unsigned int length,
                       const Torvane::Logger& logger, const char* scope)
        : KtSipRequest(Derived::sMethodName) {
        TORVANE_TRACE_SCOPE(logger, scope);
        if (response.isNil()) KtSipParseError::sThrow("Handle to response is NIL");
        initAcknowledgement(*response, refusal, increment, body, contentType, length);
    }
};

/// The members every method class declares the same way: the static method name, the empty
/// request (the form the message factory creates), the request-building constructors of
/// KtSipRequest with the class's method, and the deep copy (see KtSipRequest).
#define KT_SIP_METHOD_MESSAGE_MEMBERS(CLASS)                                \
public:                                                                     \
    static const KtString sMethodName;                                      \
    /** An empty request (the form the message factory creates). */         \
    CLASS() = default;                                                      \
    using KtSipMethodMessage<CLASS>::KtSipMethodMessage;                    \
    CLASS(const CLASS& other) = default;

/// The constructor of ACK and PRACK from the response they answer: `length` bytes of `body`
/// of type `contentType` (a `length` of 0 adds Content-Length 0).
#define KT_SIP_ACKNOWLEDGEMENT_CONSTRUCTOR(CLASS)                                                  \
    explicit CLASS(KtHandle<KtSipResponse> response, const void* body = nullptr,                   \
                   const char* contentType = nullptr, unsigned int length = 0);

/// Defines that constructor in the class's source file: the response's CSeq method must be
/// exactly "INVITE" (else KtSipParseError REFUSAL), the CSeq number is the response's plus
/// INCREMENT, and the trace scope is "CLASS ctor".
#define KT_SIP_ACKNOWLEDGEMENT_DEFINE(CLASS, REFUSAL, INCREMENT)                                   \
    CLASS::CLASS(KtHandle<KtSipResponse> response, const void* body, const char* contentType,      \
                 unsigned int length)                                                               \
        : KtSipMethodMessage(response, (REFUSAL), (INCREMENT), body, contentType, length, fileLogger(), \
                             #CLASS " ctor") {}

/// Defines CLASS::sMethodName as NAME (an immortal constant: the requests of the class share
/// it without counting references) and registers the class with the message factory.
#define KT_SIP_METHOD_REGISTER(CLASS, NAME)                                                          \
    const KtString CLASS::sMethodName(KtString::sStatic(NAME));                                      \
    namespace {                                                                                      \
    const bool ktRegistered##CLASS =                                                                 \
        (KtSipMessage::sAddConstructor(CLASS::sMethodName.c_str(), &KtSipMsgConstructor<CLASS>::Constructor), \
         true);                                                                                      \
    }

#endif

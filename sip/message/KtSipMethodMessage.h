// The boilerplate of the method classes, written once.
#ifndef KTSIP_KT_SIP_METHOD_MESSAGE_H
#define KTSIP_KT_SIP_METHOD_MESSAGE_H

#include "KtSipMsgConstructor.h"
#include "KtSipRequest.h"

/// Base of a request class of one method. `Derived` declares
/// `static const KtString sMethodName;` and a public copy constructor; its source file
/// defines the name and registers the class with KT_SIP_METHOD_REGISTER.
template <class Derived>
class KtSipMethodMessage : public KtSipRequest {
public:
    /// A deep copy of the request, of class Derived.
    KtSipRequest* clone() const override { return new Derived(static_cast<const Derived&>(*this)); }

protected:
    /// An empty request of the class's method (the form the factory creates).
    KtSipMethodMessage() : KtSipRequest(Derived::sMethodName) {}
    KtSipMethodMessage(const KtSipMethodMessage& other) = default;
};

/// Defines CLASS::sMethodName as NAME and registers the class with the message factory.
#define KT_SIP_METHOD_REGISTER(CLASS, NAME)                                                          \
    const KtString CLASS::sMethodName(NAME);                                                         \
    namespace {                                                                                      \
    const bool ktRegistered##CLASS =                                                                 \
        (KtSipMessage::sAddConstructor(CLASS::sMethodName.c_str(), &KtSipMsgConstructor<CLASS>::Constructor), \
         true);                                                                                      \
    }

#endif

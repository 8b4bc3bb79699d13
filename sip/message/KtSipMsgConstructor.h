// The factory registered with the message class registry.
#ifndef KTSIP_KT_SIP_MSG_CONSTRUCTOR_H
#define KTSIP_KT_SIP_MSG_CONSTRUCTOR_H

class KtSipMessage;

/// Creates an empty message of class T (from the "KtSipMessage" pool, through T's operator
/// new) for the registry of KtSipMessage::sAddConstructor.
template <class T>
struct KtSipMsgConstructor {
    /// A new default-constructed T.
    static KtSipMessage* Constructor() { return new T(); }
};

#endif

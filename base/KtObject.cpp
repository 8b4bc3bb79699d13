// The reference-counted root object.
#include "KtObject.h"

#include <cstdint>
#include <cstdio>
#include <typeinfo>

#include "KtException.h"
#include "KtOutputStream.h"

KtObject* KtObject::clone() const {
    KtException::sThrow("KtObject::clone: this class cannot be copied");
}

int KtObject::compareWith(const KtObject* other) const {
    if (this == other) return 0;
    return this < other ? -1 : 1;
}

unsigned KtObject::hashCode() const {
    const auto v = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(this));
    return static_cast<unsigned>(v ^ (v >> 32));
}

void KtObject::display(KtOutputStream& out, bool) const {
    char text[64];
    std::snprintf(text, sizeof(text), "@%p", static_cast<const void*>(this));
    out << typeid(*this).name() << text;
}

void KtObject::AddRef() const { addRefInline(); }

void KtObject::Release(bool destroy) const {
    if (m_RefCount.load(std::memory_order_relaxed) >= kImmortal) return;
    if (m_RefCount.fetch_sub(1, std::memory_order_acq_rel) == 1 && destroy) delete this;
}

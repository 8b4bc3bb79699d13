// Generated Call-ID values.
#include "KtSipCallid.h"

#include "KtInetAddress.h"
#include "TorvaneLogger.h"
#include "TorvaneUUID.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipCallid")

KtSipCallid::KtSipCallid(const char* host) { reGenerate(host); }

KtSipCallid* KtSipCallid::clone() const { return new KtSipCallid(*this); }

const KtString& KtSipCallid::sGetLocalHostName() {
    // Filled on first use; a lookup that throws leaves it to be tried again next time.
    static const KtString sLocalHostName(KtString::sStatic(KtInetAddress::sGetLocalHost(250).getHostName().c_str()));
    return sLocalHostName;
}

void KtSipCallid::reGenerate(const char* host) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipCallid::reGenerate");
    const char* const name = host != nullptr ? host : sGetLocalHostName().c_str();
    char uuid[Torvane::UUID::TEXT_LENGTH + 1];
    Torvane::UUID::uuid_create_string(uuid);
    // A fresh buffer: copies made earlier keep their value.
    KtString value(uuid);
    value.append("@");
    value.append(name);
    m_Value = value;
}

// The abstract authentication credentials and the factory of credentials by scheme.
#include "KtSipCredentialsInfo.h"

#include <strings.h>

#include "KtException.h"
#include "KtSipDigestCredentialsInfo.h"
#include "KtSipDigestPairReader.h"
#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipCredentialsInfo")

KtSipCredentialsInfo::~KtSipCredentialsInfo() = default;

KtHandle<KtSipCredentialsInfo> KtSipCredentialsInfo::constructFrom(const char* type, KtHandle<KtByteArray> text) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipCredentialsInfo::constructFrom");
    if (type && strcasecmp(type, KtSipDigestCredentialsInfo::sm_Type.c_str()) == 0) {
        return KtSipDigestCredentialsInfo::sCreateFrom(text);
    }
    TORVANE_DEBUG(fileLogger(), "credentials scheme \"" << (type ? type : "") << "\" refused");
    KtException::sThrow("Credentials type not supported !");
}

KtHandle<KtSipCredentialsInfo> KtSipCredentialsInfo::sConstructFromValue(const char* value) {
    KtString scheme;
    KtHandle<KtByteArray> list;
    KtSipDigestPairReader::sSplitScheme(value, scheme, list);
    return constructFrom(scheme.c_str(), list);
}

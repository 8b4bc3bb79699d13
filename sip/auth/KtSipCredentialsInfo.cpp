// The abstract authentication credentials and the factory of credentials by scheme.
#include "KtSipCredentialsInfo.h"

#include <cstring>

#include "KtException.h"
#include "KtSipDigestCredentialsInfo.h"
#include "KtSipDigestPairReader.h"
#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipCredentialsInfo")

KtSipCredentialsInfo::~KtSipCredentialsInfo() = default;

KtHandle<KtSipCredentialsInfo> KtSipCredentialsInfo::constructFrom(const char* type, KtHandle<KtByteArray> text) {
    const unsigned typeLength = type ? static_cast<unsigned>(std::strlen(type)) : 0;
    return text.isNil() ? constructFrom(type, typeLength, nullptr, 0)
                        : constructFrom(type, typeLength, text->chars(), text->getLength());
}

KtHandle<KtSipCredentialsInfo> KtSipCredentialsInfo::constructFrom(const char* type, unsigned typeLength,
                                                                   const char* text, unsigned length) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipCredentialsInfo::constructFrom");
    if (KtSipDigestPairReader::sIsScheme(type, typeLength, KtSipDigestCredentialsInfo::sm_Type)) {
        return KtSipDigestCredentialsInfo::sCreateFrom(text, length);
    }
    TORVANE_DEBUG(fileLogger(),
                  "credentials scheme \"" << KtString(type ? type : "", type ? typeLength : 0) << "\" refused");
    KtException::sThrow("Credentials type not supported !");
}

KtHandle<KtSipCredentialsInfo> KtSipCredentialsInfo::sConstructFromValue(const char* value) {
    const KtSipDigestPairReader::SchemeSplit split =
        KtSipDigestPairReader::sSplitScheme(value, value ? static_cast<unsigned>(std::strlen(value)) : 0);
    return constructFrom(split.scheme, split.schemeLength, split.list, split.listLength);
}

// The seconds-or-date header shape.
#include "KtSipDeltaSecondsHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipDeltaSecondsHeader")

void KtSipDeltaSecondsHeader::setDate(const KtDate& date) {
    m_IsDate = true;
    m_Seconds = 0;
    m_Date = date;
}

void KtSipDeltaSecondsHeader::setSecondsValue(long long seconds) {
    m_IsDate = false;
    m_Seconds = seconds;
    m_Date.init();
}

void KtSipDeltaSecondsHeader::setDateText(const char* text, const char* error) {
    KtDate date;
    try {
        date.constructKtDate(text);
    } catch (const KtException&) {
        KtSipParseError::sThrow(error);
    }
    setDate(date);
}

void KtSipDeltaSecondsHeader::writeValue(KtOutputStream& out) const {
    if (m_IsDate) {
        char text[KtDate::TEXT_LENGTH + 1];
        m_Date.getKtDate(text);
        out << text;
    } else {
        out << m_Seconds;
    }
}

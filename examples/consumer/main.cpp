// Reads one SIP header line (the first argument, or a default) with the header
// registry and writes back what the library serializes for it.
#include <cstdio>
#include <cstring>
#include <string>

#include "KtByteArray.h"
#include "KtException.h"
#include "KtInputStream.h"
#include "KtOutputStream.h"
#include "KtSipHeader.h"

int main(int argc, char** argv) {
    std::string line = argc > 1 ? argv[1] : "Subject: Hello from the consumer";
    line += "\r\n";
    try {
        KtHandle<KtByteArray> bytes = KtByteArray::sCreate(line.c_str());
        KtByteArrayInputStream in(bytes);
        KtHandle<KtSipHeader> header = KtSipHeader::sConstructFrom(in);
        KtByteArrayOutputStream out(256);
        header->serialize(out);
        std::fwrite(out.data(), 1, out.size(), stdout);
        return 0;
    } catch (const KtException& e) {
        std::fprintf(stderr, "consumer: %s\n", e.getMessage());
        return 1;
    }
}

// SPDX-License-Identifier: MIT
#include "base/CodePages.h"

#include <langinfo.h>
#include <locale.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <limits>
#include <mutex>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"

namespace brindle {

namespace {

struct NumberedPage {
    const char* number;
    const char* name;
};

// Numbers whose ICU name is not "windows-", "cp" or "ibm-" and the number.
constexpr NumberedPage kNumberedPages[] = {
    {"367", "US-ASCII"},
    {"1200", "UTF-16LE"},
    {"1201", "UTF-16BE"},
    {"10000", "macintosh"},
    {"10006", "x-mac-greek"},
    {"10007", "x-mac-cyrillic"},
    {"10029", "x-mac-centraleurroman"},
    {"10081", "x-mac-turkish"},
    {"20127", "US-ASCII"},
    {"20866", "KOI8-R"},
    {"21866", "KOI8-U"},
    {"20932", "EUC-JP"},
    {"51932", "EUC-JP"},
    {"51949", "EUC-KR"},
    {"54936", "gb18030"},
    {"65000", "UTF-7"},
    {"65001", "UTF-8"},
    {"28591", "ISO-8859-1"},
    {"28592", "ISO-8859-2"},
    {"28593", "ISO-8859-3"},
    {"28594", "ISO-8859-4"},
    {"28595", "ISO-8859-5"},
    {"28596", "ISO-8859-6"},
    {"28597", "ISO-8859-7"},
    {"28598", "ISO-8859-8"},
    {"28599", "ISO-8859-9"},
    {"28603", "ISO-8859-13"},
    {"28605", "ISO-8859-15"},
};

UConverter* tryOpen(const std::string& name) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(name.c_str(), &status);
    if (U_SUCCESS(status)) return converter;
    ucnv_close(converter);
    return nullptr;
}

bool isNumber(const std::string& name) {
    return !name.empty() && name.find_first_not_of("0123456789") == std::string::npos;
}

UConverter* openNumbered(const std::string& number) {
    for (const NumberedPage& page : kNumberedPages)
        if (number == page.number) return tryOpen(page.name);
    for (const char* prefix : {"windows-", "cp", "ibm-"})
        if (UConverter* converter = tryOpen(prefix + number)) return converter;
    return nullptr;
}

// An empty name would mean ICU's default, which is nobody's intention.
UConverter* openByName(const std::string& name) {
    if (name.empty()) return nullptr;
    return isNumber(name) ? openNumbered(name) : tryOpen(name);
}

bool isWindows1252(const UConverter* converter) {
    UErrorCode status = U_ZERO_ERROR;
    const char* name = ucnv_getName(converter, &status);
    return U_SUCCESS(status) && std::string(name) == "ibm-5348_P100-1997";
}

// The bytes that windows-1252 leaves undefined.
bool isUndefinedIn1252(std::uint32_t value) {
    return value == 0x81 || value == 0x8D || value == 0x8F || value == 0x90 || value == 0x9D;
}

// ICU's own substitution answers some undecodable bytes with U+001A instead of U+FFFD.
void replaceUndecodable(const void* keepsUndefined, UConverterToUnicodeArgs* args,
                        const char* bytes, int32_t length, UConverterCallbackReason reason,
                        UErrorCode* status) {
    if (reason > UCNV_IRREGULAR) return;
    *status = U_ZERO_ERROR;
    UChar character = 0xFFFD;
    const auto byte = static_cast<unsigned char>(bytes[0]);
    if (keepsUndefined != nullptr && length == 1 && isUndefinedIn1252(byte)) character = byte;
    ucnv_cbToUWriteUChars(args, &character, 1, 0, status);
}

void refuseUnencodable(const void* keepsUndefined, UConverterFromUnicodeArgs* args, const UChar*,
                       int32_t, UChar32 codePoint, UConverterCallbackReason reason,
                       UErrorCode* status) {
    if (reason > UCNV_IRREGULAR || keepsUndefined == nullptr) return;
    if (!isUndefinedIn1252(static_cast<std::uint32_t>(codePoint))) return;
    *status = U_ZERO_ERROR;
    const char byte = static_cast<char>(codePoint);
    ucnv_cbFromUWriteBytes(args, &byte, 1, 0, status);
}

void setCallbacks(UConverter* converter) {
    // Only whether the context is null is looked at.
    const void* keepsUndefined = isWindows1252(converter) ? converter : nullptr;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_setToUCallBack(converter, replaceUndecodable, keepsUndefined, nullptr, nullptr, &status);
    ucnv_setFromUCallBack(converter, refuseUnencodable, keepsUndefined, nullptr, nullptr, &status);
    ucnv_setFallback(converter, false);
}

// ICU counts in 32 bits, and a conversion may grow; larger texts are cut up by the caller.
int32_t checkedLength(std::size_t length) {
    if (length > static_cast<std::size_t>(std::numeric_limits<int32_t>::max()) / 8)
        throw Error(ErrorKind::TooLarge, error_number::kOutOfMemory, "Out of memory");
    return static_cast<int32_t>(length);
}

void checkConverted(UErrorCode status, const char* what) {
    if (U_FAILURE(status))
        throw Error(ErrorKind::Internal, error_number::kInternal,
                    std::string(what) + ": " + u_errorName(status));
}

std::string toUtf8(const std::u16string& utf16) {
    std::string utf8(utf16.size() * 3, '\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8WithSub(utf8.data(), static_cast<int32_t>(utf8.size()), &length, utf16.data(),
                       static_cast<int32_t>(utf16.size()), 0xFFFD, nullptr, &status);
    checkConverted(status, "Conversion to UTF-8 failed");
    utf8.resize(static_cast<std::size_t>(length));
    return utf8;
}

// Nothing when the text is not valid UTF-8.
std::optional<std::u16string> toUtf16(std::string_view utf8) {
    std::u16string utf16(utf8.size(), u'\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(utf16.data(), static_cast<int32_t>(utf16.size()), &length, utf8.data(),
                  checkedLength(utf8.size()), &status);
    if (U_FAILURE(status)) return std::nullopt;
    utf16.resize(static_cast<std::size_t>(length));
    return utf16;
}

UConverter* asConverter(void* converter) {
    return static_cast<UConverter*>(converter);
}

std::string localeCodeset() {
    const locale_t locale = newlocale(LC_CTYPE_MASK, "", locale_t{});
    if (locale == locale_t{}) return {};
    std::string codeset = nl_langinfo_l(CODESET, locale);
    freelocale(locale);
    return codeset;
}

// A locale without letters outside ASCII says nothing about them; UTF-8 holds ASCII too.
std::string findLocaleCodePage() {
    const std::string codeset = localeCodeset();
    if (codeset == "ANSI_X3.4-1968" || codeset == "US-ASCII") return "UTF-8";
    UConverter* known = openByName(codeset);
    ucnv_close(known);
    return known == nullptr ? "UTF-8" : codeset;
}

// Asked for with every document; the locale's files are read once.
const std::string& localeCodePage() {
    static const std::string name = findLocaleCodePage();
    return name;
}

struct ChosenCodePage {
    std::mutex guard;
    std::string name;
};

ChosenCodePage& chosenCodePage() {
    static ChosenCodePage chosen;
    return chosen;
}

}  // namespace

CodePage::CodePage(const std::string& name) : mName(name), mConverter(openByName(name)) {
    if (mConverter == nullptr)
        throw Error(ErrorKind::Argument, error_number::kInvalidArgument,
                    "Unknown code page: " + name);
    setCallbacks(asConverter(mConverter));
}

CodePage::~CodePage() {
    ucnv_close(asConverter(mConverter));
}

CodePage::CodePage(CodePage&& other) noexcept
    : mName(std::move(other.mName)), mConverter(std::exchange(other.mConverter, nullptr)) {}

CodePage& CodePage::operator=(CodePage&& other) noexcept {
    std::swap(mName, other.mName);
    std::swap(mConverter, other.mConverter);
    return *this;
}

std::string CodePage::decode(std::string_view bytes) const {
    if (bytes.empty()) return {};
    const int32_t length = checkedLength(bytes.size());
    std::u16string utf16(bytes.size() * 2, u'\0');
    for (int attempt = 0; attempt < 2; ++attempt) {
        UErrorCode status = U_ZERO_ERROR;
        const int32_t needed =
            ucnv_toUChars(asConverter(mConverter), utf16.data(), static_cast<int32_t>(utf16.size()),
                          bytes.data(), length, &status);
        utf16.resize(static_cast<std::size_t>(std::max(needed, 0)));
        if (status == U_BUFFER_OVERFLOW_ERROR) continue;
        checkConverted(status, "Decoding failed");
        break;
    }
    return toUtf8(utf16);
}

std::optional<std::string> CodePage::encode(std::string_view utf8) const {
    if (utf8.empty()) return std::string();
    const std::optional<std::u16string> utf16 = toUtf16(utf8);
    if (!utf16) return std::nullopt;
    const int widest = ucnv_getMaxCharSize(asConverter(mConverter));
    const std::int64_t room = UCNV_GET_MAX_BYTES_FOR_STRING(std::int64_t(utf16->size()), widest);
    std::string bytes(std::size_t(std::min<std::int64_t>(room, INT32_MAX)), '\0');
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length =
        ucnv_fromUChars(asConverter(mConverter), bytes.data(), static_cast<int32_t>(bytes.size()),
                        utf16->data(), static_cast<int32_t>(utf16->size()), &status);
    if (U_FAILURE(status)) return std::nullopt;
    bytes.resize(static_cast<std::size_t>(length));
    return bytes;
}

std::string ansiCodePage() {
    ChosenCodePage& chosen = chosenCodePage();
    const std::lock_guard lock(chosen.guard);
    return chosen.name.empty() ? localeCodePage() : chosen.name;
}

void setAnsiCodePage(const std::string& name) {
    if (!name.empty()) static_cast<void>(CodePage(name));
    ChosenCodePage& chosen = chosenCodePage();
    const std::lock_guard lock(chosen.guard);
    chosen.name = name;
}

}  // namespace brindle

#include "zdbs/load/encoding.h"

#include <unicode/unistr.h>

#include <array>

#include "zdbs/base/status.h"
#include "zdbs/load/text_place.h"
#include "zdbs/load/xml_declaration.h"

namespace zdbs {

namespace {

using namespace std::string_view_literals;

/** How a document begins, and what that says. */
struct Signature {
    std::string_view bytes;
    const char *name;  ///< of the encoding
    bool isMark;       ///< the bytes are no text
    bool isFamily;     ///< the declaration says which one of many it is
};

constexpr const char *utf8 = "UTF-8";
constexpr const char *ebcdic = "IBM037";  // for the declaration: its characters are alike in all

// Longer ones stand before those that they begin with. Two of UCS-4 are known in order to be
// refused by their names: there is no converter for them.
constexpr std::array signatures = {
    Signature{"\x00\x00\xfe\xff"sv, "UTF-32BE", true, false},
    Signature{"\xff\xfe\x00\x00"sv, "UTF-32LE", true, false},
    Signature{"\x00\x00\xff\xfe"sv, "UCS-4-2143", true, false},
    Signature{"\xfe\xff\x00\x00"sv, "UCS-4-3412", true, false},
    Signature{"\x84\x31\x95\x33"sv, "GB18030", true, false},
    Signature{"\xef\xbb\xbf"sv, utf8, true, false},
    Signature{"\xfe\xff"sv, "UTF-16BE", true, false},
    Signature{"\xff\xfe"sv, "UTF-16LE", true, false},
    Signature{"\x00\x00\x00<"sv, "UTF-32BE", false, false},
    Signature{"<\x00\x00\x00"sv, "UTF-32LE", false, false},
    Signature{"\x00\x00<\x00"sv, "UCS-4-2143", false, false},
    Signature{"\x00<\x00\x00"sv, "UCS-4-3412", false, false},
    Signature{"\x4c\x6f\xa7\x94"sv, ebcdic, false, true},
};

constexpr Signature bigEndian{""sv, "UTF-16BE", false, false};
constexpr Signature littleEndian{""sv, "UTF-16LE", false, false};
constexpr Signature asciiFamily{""sv, utf8, false, true};

bool canBeginDocument(char letter) {
    return "< \t\r\n"sv.find(letter) != std::string_view::npos;
}

const Signature &signatureOf(std::string_view bytes) {
    for (const Signature &signature : signatures) {
        if (bytes.starts_with(signature.bytes)) return signature;
    }
    if (bytes.size() < 2) return asciiFamily;
    if (bytes[0] == '\0' && canBeginDocument(bytes[1])) return bigEndian;
    if (bytes[1] == '\0' && canBeginDocument(bytes[0])) return littleEndian;
    return asciiFamily;
}

std::string canonicalName(const UConverter *converter) {
    UErrorCode error = U_ZERO_ERROR;
    const char *name = ::ucnv_getName(converter, &error);
    return U_SUCCESS(error) ? name : "";
}

// As much of it as is made of characters.
std::string toUtf8(UConverter *converter, std::string_view bytes) {
    std::u16string units(2 * bytes.size() + 1, u'\0');
    char16_t *target = units.data();
    const char *source = bytes.data();
    UErrorCode error = U_ZERO_ERROR;
    ::ucnv_toUnicode(converter, &target, target + units.size(), &source, source + bytes.size(),
                     nullptr, false, &error);
    ::ucnv_resetToUnicode(converter);
    std::string text;
    icu::UnicodeString(units.data(), static_cast<std::int32_t>(target - units.data()))
        .toUTF8String(text);
    return text;
}

bool isUtf8(const Signature &signature) {
    return std::string_view(signature.name) == utf8;
}

/** The beginning of a document as text. */
std::string readable(const Signature &signature, std::string_view bytes) {
    bytes.remove_prefix(signature.isMark ? signature.bytes.size() : 0);
    if (isUtf8(signature)) return std::string(bytes);
    const Converter converter = openConverter(signature.name);
    return converter ? toUtf8(converter.get(), bytes) : "";
}

// "UTF-16" names both orders of bytes, and which one it is the bytes have told.
bool isNameOf(const UConverter *declared, const char *found) {
    const std::string name = canonicalName(declared);
    const std::string foundName = canonicalName(openConverter(found).get());
    return name == foundName || name + "BE" == foundName || name + "LE" == foundName;
}

// A declaration that reads differently in the encoding that it names cannot be in it.
bool readsAlike(UConverter *declared, std::string_view bytes, std::string_view declaration) {
    return toUtf8(declared, bytes.substr(0, declaration.size())) == declaration;
}

std::string placeOf(std::string_view file, std::string_view text, std::string_view part) {
    TextPlace place;
    place.pass(text.substr(0, static_cast<std::size_t>(part.data() - text.data())));
    return std::string(file) + ':' + place.text();
}

Encoding undeclared(const Signature &signature, std::string_view file) {
    Encoding encoding{signature.name, nullptr, signature.isMark ? signature.bytes.size() : 0};
    if (isUtf8(signature)) return encoding;
    encoding.converter = openConverter(signature.name);
    const bool isGuess = signature.isFamily;
    if (isGuess || !encoding.converter)
        throw Failure(Status::unknownEncoding,
                      {std::string(file) + ":1:1", isGuess ? "EBCDIC" : signature.name});
    return encoding;
}

}  // namespace

Converter openConverter(const std::string &name) {
    UErrorCode error = U_ZERO_ERROR;
    Converter converter(::ucnv_open(name.c_str(), &error));
    if (U_FAILURE(error)) return nullptr;
    ::ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                          &error);
    if (U_FAILURE(error)) return nullptr;
    return converter;
}

bool needsMore(std::string_view beginning) {
    constexpr std::size_t longestSignature = 4;
    if (beginning.size() < longestSignature) return true;
    const std::string text = readable(signatureOf(beginning), beginning);
    return readXmlDeclaration(text).kind == XmlDeclaration::Kind::unfinished;
}

Encoding findEncoding(std::string_view beginning, std::string_view file) {
    const Signature &signature = signatureOf(beginning);
    const std::string text = readable(signature, beginning);
    const XmlDeclaration declaration = readXmlDeclaration(text);
    if (declaration.encoding.empty()) return undeclared(signature, file);

    const std::string name(declaration.encoding);
    const std::string place = placeOf(file, text, declaration.encoding);
    Converter declared = openConverter(name);
    if (!declared) throw Failure(Status::unknownEncoding, {place, name});
    const bool agrees = signature.isFamily
                            ? readsAlike(declared.get(), beginning,
                                         std::string_view(text).substr(0, declaration.size))
                            : isNameOf(declared.get(), signature.name);
    if (!agrees)
        throw Failure(Status::malformed,
                      {place, "the encoding it declares is not the one it is in"});
    if (!signature.isFamily) return undeclared(signature, file);
    if (canonicalName(declared.get()) == utf8) declared.reset();
    return {name, std::move(declared), 0};
}

}  // namespace zdbs

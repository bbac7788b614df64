/** Which form of an answer a client likes best. */
#ifndef ZDBS_SERVE_MEDIA_TYPE_H
#define ZDBS_SERVE_MEDIA_TYPE_H

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace zdbs::serve {

enum class Form : std::uint8_t { json, csv, plain, xml };

/** What a Content-Type field says of it. */
std::string_view mediaType(Form form);

/** What its ETags end with, so that each form of a state has one of its own; JSON nothing. */
std::string_view tagSuffix(Form form);

/**
 * The offered form that an Accept field (RFC 9110, 12.5.1) likes best; the first of those that it
 * likes as much. An empty field likes all. Nothing where it likes none.
 */
std::optional<Form> preferredForm(std::string_view accept, std::span<const Form> offered);

}  // namespace zdbs::serve

#endif

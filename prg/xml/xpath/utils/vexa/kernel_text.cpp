#include "prg/xml/xpath/utils/vexa/kernel_text.h"

#include <algorithm>
#include <cstdio>

#include "kernel/zdbs.h"

void fetchMessage(int32_t status, char *buffer, int32_t capacity) {
    int32_t length = capacity;
    buffer[0] = '\0';
    ZdbMessage(status, buffer, &length);
    buffer[std::clamp(length, 0, capacity)] = '\0';
}

CommandWord::CommandWord(const char *symbol, Form form) {
    std::snprintf(text_, sizeof text_, "%-*s", static_cast<int>(capacity_), symbol);
    int32_t length = capacity_;
    ZdbShellSymbol(text_, &length);
    if (form == Form::cut) text_[std::clamp(length, 0, capacity_)] = '\0';
    text_[capacity_] = '\0';
}

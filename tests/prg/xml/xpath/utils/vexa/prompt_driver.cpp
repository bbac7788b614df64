/**
 * Asks one question and prints the answer in brackets, or "cancelled".
 * Arguments: text, default ("" for none), "hide" or "show", "required" or "optional".
 */
#include <cstdio>
#include <cstring>
#include <memory>

#include "prg/xml/xpath/utils/vexa/vexa.h"

int main(int argc, char **argv) {
    if (argc != 5) return 2;
    const std::unique_ptr<char[]> answer = Vexa::prompt(
        argv[1], argv[2], std::strcmp(argv[3], "hide") == 0, std::strcmp(argv[4], "required") == 0);
    if (answer == nullptr) {
        std::puts("cancelled");
    } else {
        std::printf("[%s]\n", answer.get());
    }
    return 0;
}

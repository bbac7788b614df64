#ifndef PRG_XML_XPATH_UTILS_VEXA_COMMAND_INTERPRETER_H
#define PRG_XML_XPATH_UTILS_VEXA_COMMAND_INTERPRETER_H

#include <string_view>

class CStringBuffer;
class Vexa;

/** The statement loop: reads statements, recognises the commands and has them carried out. */
class CommandInterpreter {
public:
    /** @param batch the loop ends at the first failure of a request */
    CommandInterpreter(Vexa &vexa, bool batch) : vexa_(vexa), batch_(batch) {}

    /** Carries out statements until a command or the end of input ends the loop. */
    void run();

private:
    enum class Next { statement, end };
    enum class Match { whole, prefix };

    struct Command {
        Match match;
        std::string_view name;
        size_t argumentAt;
        Next (CommandInterpreter::*carryOut)(std::string_view argument);
    };
    static const Command commands[];

    Next carryOut(const CStringBuffer &statement);
    Next carryOut(std::string_view statement);

    Next leave(std::string_view);
    Next base(std::string_view database);
    Next input(std::string_view script);
    Next help(std::string_view);
    Next execute(std::string_view);
    Next noExecute(std::string_view);
    Next highlight(std::string_view);
    Next noHighlight(std::string_view);
    Next xfind(std::string_view request);
    Next xget(std::string_view request);

    Next afterResult(int result);

    Vexa &vexa_;
    const bool batch_;
    bool inScript_ = false;
};

#endif

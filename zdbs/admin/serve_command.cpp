#include "zdbs/serve/serve.h"

#include <string>
#include <string_view>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/output.h"

namespace zdbs::admin {

bool serveHome(const HomeChoice &home, const serve::Settings &settings) {
    serve::serve(home.location(), settings, [](std::string_view address) {
        writeOutput(std::string(address) + '\n');
        finishOutput();
    });
    return true;
}

}  // namespace zdbs::admin

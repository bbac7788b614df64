#include "zdbs/admin/served_command.h"

#include <sys/stat.h>

#include <cstdio>
#include <fstream>

#include "zdbs/admin/interruption.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/password_prompt.h"
#include "zdbs/admin/usage_error.h"
#include "zdbs/engine/registry.h"
#include "zdbs/remote/remote_command.h"

namespace zdbs::admin {

namespace {

constexpr std::string_view homeOption = "--home";

/** At the server the home is another one. */
std::vector<std::string> withoutHome(const std::vector<std::string> &words) {
    std::vector<std::string> rest;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i] == homeOption)
            ++i;
        else if (!words[i].starts_with(std::string(homeOption) + '='))
            rest.push_back(words[i]);
    }
    return rest;
}

std::string userFor(const remote::ServerAddress &address) {
    const std::string user = address.user.empty() ? configured("ZDBS_USER") : address.user;
    if (user.empty())
        throw UsageError(
            "Whose databases? ZDBS_USER names the user, or ZDBS_HOME in front of the "
            "host, as in https://ann@" +
            (address.host.empty() ? "host" : address.host) + ".");
    return user;
}

std::string passwordIn(const std::string &path) {
    struct stat file {};
    if (::stat(path.c_str(), &file) == 0 && (file.st_mode & 077U) != 0)
        throw Failure(Status::badPassword, {path + " can be read by others"});
    std::ifstream stream(path);
    std::string line;
    if (!std::getline(stream, line))
        throw Failure(Status::badPassword, {path + " cannot be read, or is empty"});
    return line;
}

std::string passwordFor(const std::string &user) {
    const std::string file = configured("ZDBS_PASSWORD_FILE");
    return file.empty() ? askForPassword(user) : passwordIn(file);
}

}  // namespace

int runServedCommand(const std::string &location, const std::vector<std::string> &words) {
    const remote::ServerAddress address = remote::parseServerAddress(location);
    const std::string user = userFor(address);
    remote::Channel channel(address, user, passwordFor(user), remote::Channel::Use::commands);
    const auto pass = [](std::string_view text) {
        writeOutput(text);
        finishOutput();
    };
    const auto complain = [](std::string_view text) {
        std::fwrite(text.data(), 1, text.size(), stderr);
    };
    const Interruption interruption;
    return remote::runCommand(channel, withoutHome(words), {fileno(stdin), pass, complain});
}

}  // namespace zdbs::admin

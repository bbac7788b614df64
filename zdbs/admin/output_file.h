/** Files that commands write. */
#ifndef ZDBS_ADMIN_OUTPUT_FILE_H
#define ZDBS_ADMIN_OUTPUT_FILE_H

#include <filesystem>
#include <string>
#include <string_view>

#include "zdbs/base/private_files.h"
#include "zdbs/base/status.h"

namespace zdbs::admin {

/** The name of a file, and nothing else, is what the system does not take. */
class UnusableName : public Failure {
public:
    using Failure::Failure;
};

/** A new file that takes its place when it is complete. Throws Failure(writeFailed). */
class OutputFile {
public:
    enum class Kind {
        usual,    ///< as any file of the user
        lasting,  ///< for its owner only, and on the disk when it is complete
    };

    /**
     * `name` is a path below `folder`, which is there, or below the working directory where that
     * is empty. Folders below it are made; links to some that somebody put there are not followed.
     * Throws UnusableName, too.
     */
    OutputFile(const std::filesystem::path &folder, const std::filesystem::path &name,
               Kind kind = Kind::usual);
    ~OutputFile();
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    void write(std::string_view text);
    void finish();

    [[noreturn]] static void fail(const std::filesystem::path &path, int error);

private:
    void flush();

    std::filesystem::path path_;  ///< for messages
    Kind kind_;
    FileDescriptor folder_;
    std::string name_;
    std::string part_;  ///< its name until it is finished; empty then
    FileDescriptor file_;
    std::string buffer_;
};

}  // namespace zdbs::admin

#endif

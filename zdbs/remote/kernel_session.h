/** The session that the C entry points act on, wherever it is. */
#ifndef ZDBS_REMOTE_KERNEL_SESSION_H
#define ZDBS_REMOTE_KERNEL_SESSION_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "zdbs/export/document_sink.h"
#include "zdbs/remote/message.h"

namespace zdbs {

/** What ZdbExport() does; numbers are part of the protocol of messages. */
enum class ExportFilter : std::uint8_t {
    fragments = 0,  ///< XPATHQUERY and XPATHFRAGMENTS: the export document
    names = 1,      ///< for people who are typing: see name_list.h
    databases = 2,
};

/** The filter of a name; nothing where there is none. */
std::optional<ExportFilter> exportFilter(std::string_view name);

/** As Session, whose operations say what they throw; texts are UTF-8. One thread at a time. */
class KernelSession {
public:
    virtual ~KernelSession() = default;

    virtual void execute(std::string_view command) = 0;
    virtual LastSearch lastSearch() const = 0;
    virtual void saveStatus() = 0;
    virtual void loadStatus() = 0;
    virtual bool hasDatabase(std::string_view database) = 0;

    /** Throws also recordTooLarge. */
    virtual remote::PlacedRecord record(std::int32_t set, std::int32_t ordinal) = 0;

    virtual DocumentBlock exportText(ExportFilter filter, std::string_view arguments,
                                     bool highlight) = 0;

    /** Whether a request inside the kernel runs. */
    virtual bool isNested() const { return false; }
};

/** One of this process. */
class LocalSession final : public KernelSession {
public:
    explicit LocalSession(std::unique_ptr<Session> session)
        : own_(std::move(session)), session_(own_.get()) {}

    /** Outlived by the session. */
    explicit LocalSession(Session &session) : session_(&session) {}

    void execute(std::string_view command) override { session_->execute(command); }
    LastSearch lastSearch() const override { return session_->lastSearch(); }
    void saveStatus() override { session_->saveStatus(); }
    void loadStatus() override { session_->loadStatus(); }
    bool hasDatabase(std::string_view database) override { return session_->hasDatabase(database); }
    remote::PlacedRecord record(std::int32_t set, std::int32_t ordinal) override;
    DocumentBlock exportText(ExportFilter filter, std::string_view arguments,
                             bool highlight) override;
    bool isNested() const override { return session_->isNested(); }

private:
    std::unique_ptr<Session> own_;
    Session *session_;
};

}  // namespace zdbs

#endif

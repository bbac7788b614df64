/** What the interpreter needs while a request runs. */
#ifndef PYTHON_INTERRUPT_H
#define PYTHON_INTERRUPT_H

#include <pybind11/pybind11.h>

#include <cstdint>

#include "zdbs/base/stop.h"

namespace zdbs::python {

/**
 * Requested as soon as a handler of a signal raises, as that of Ctrl-C does. Handlers run in the
 * main thread only; for that thread it looks every 50 milliseconds, and takes the GIL for it.
 */
class SignalStop final : public Stop {
public:
    SignalStop();

    bool isRequested() const noexcept override;
    bool allowsHelp() const noexcept override { return true; }

    /** Whether a handler has raised; the exception is the interpreter's. */
    bool hasRaised() const { return hasRaised_; }

private:
    const bool isMainThread_;
    mutable std::int64_t nextLook_;
    mutable bool hasRaised_ = false;
};

/**
 * What `work` answers, which other threads of the interpreter do not wait for. It is stopped when a
 * handler of a signal raises, and what that raised is thrown.
 */
template <typename Work>
auto withoutGil(Work work) {
    const SignalStop stop;
    try {
        auto answer = [&] {
            const pybind11::gil_scoped_release released;
            const StopScope scope(stop);
            return work();
        }();
        if (!stop.hasRaised()) return answer;
    } catch (...) {
        if (!stop.hasRaised()) throw;
    }
    throw pybind11::error_already_set();
}

}  // namespace zdbs::python

#endif

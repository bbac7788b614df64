#include "zdbs/serve/metrics.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace zdbs::serve {

namespace {

std::string decimal(double number) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%g", number);
    return text.data();
}

void addHead(std::string &text, std::string_view name, std::string_view type,
             std::string_view help) {
    text += "# HELP " + std::string(name) + ' ' + std::string(help) + '\n';
    text += "# TYPE " + std::string(name) + ' ' + std::string(type) + '\n';
}

void add(std::string &text, std::string_view name, std::string_view type, std::string_view help,
         std::uint64_t value) {
    addHead(text, name, type, help);
    text += std::string(name) + ' ' + std::to_string(value) + '\n';
}

}  // namespace

void Metrics::count(unsigned status, std::uint64_t bytes, std::chrono::nanoseconds time) {
    ++byClass_[std::min<std::size_t>(status / 100, byClass_.size() - 1)];
    const double seconds = std::chrono::duration<double>(time).count();
    ++byTime_[static_cast<std::size_t>(std::lower_bound(bounds.begin(), bounds.end(), seconds) -
                                       bounds.begin())];
    nanoseconds_ += static_cast<std::uint64_t>(time.count());
    bytes_ += bytes;
}

std::string Metrics::text(const Gauges &gauges) const {
    std::string text;
    addHead(text, "zdbs_requests_total", "counter", "Requests that were answered, by status.");
    for (std::size_t digit = 1; digit < byClass_.size(); ++digit)
        text += "zdbs_requests_total{status=\"" + std::to_string(digit) + "xx\"} " +
                std::to_string(byClass_[digit].load()) + '\n';
    addHead(text, "zdbs_request_seconds", "histogram", "From the request's line to its end.");
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < byTime_.size(); ++i) {
        sum += byTime_[i].load();
        const std::string bound = i < bounds.size() ? decimal(bounds[i]) : "+Inf";
        text += "zdbs_request_seconds_bucket{le=\"" + bound + "\"} " + std::to_string(sum) + '\n';
    }
    text += "zdbs_request_seconds_sum " + decimal(static_cast<double>(nanoseconds_.load()) / 1e9) +
            '\n';
    text += "zdbs_request_seconds_count " + std::to_string(sum) + '\n';
    add(text, "zdbs_answer_bytes_total", "counter", "Bytes of answers.", bytes_);
    add(text, "zdbs_connections_total", "counter", "Connections that were accepted.", connections);
    add(text, "zdbs_slow_connections_total", "counter",
        "Connections that were dropped for sending or taking nothing.", droppedSlow);
    add(text, "zdbs_clients_gone_total", "counter", "Requests whose client went away.",
        clientsGone);
    add(text, "zdbs_over_time_total", "counter", "Requests that were over their time.",
        stoppedTime);
    add(text, "zdbs_over_memory_total", "counter", "Requests that were over their memory.",
        stoppedMemory);
    add(text, "zdbs_password_hashes_total", "counter", "Passwords that were verified slowly.",
        slowHashes);
    add(text, "zdbs_kept_answers_total", "counter", "Requests that were answered from memory.",
        keptAnswers);
    add(text, "zdbs_connections", "gauge", "Connections that are open.", gauges.connections);
    add(text, "zdbs_requests_running", "gauge", "Requests that have a thread.", gauges.running);
    add(text, "zdbs_requests_waiting", "gauge", "Requests that wait for one.", gauges.waiting);
    add(text, "zdbs_idle_sessions", "gauge", "Databases that are kept open.", gauges.sessions);
    add(text, "zdbs_kernel_sessions", "gauge", "Sessions of kernel libraries.", gauges.kernels);
    return text;
}

}  // namespace zdbs::serve

-- What wrk has seen, on one line: requests, seconds, microseconds at the median and at 99 of 100,
-- and how many requests failed.
function done(summary, latency, requests)
    local errors = summary.errors
    local failed = errors.connect + errors.read + errors.write + errors.status + errors.timeout
    io.write(string.format("REPORT %d %f %d %d %d\n", summary.requests, summary.duration / 1e6,
        latency:percentile(50), latency:percentile(99), failed))
end

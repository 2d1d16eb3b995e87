#include <foundation/log/basic_diagnostic_logger.hpp>

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions/keyword.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/sources/record_ostream.hpp>

#include <boost/make_shared.hpp>

#include <functional>
#include <iostream>

namespace foundation::log {
namespace {

namespace logging = boost::log;

BOOST_LOG_ATTRIBUTE_KEYWORD(channelAttribute, "Channel", std::string)
BOOST_LOG_ATTRIBUTE_KEYWORD(levelAttribute, "Severity", level_t)

Record toRecord(const logging::record_view& view) {
    Record record;
    if (auto channel = view[channelAttribute])
        record.channel = *channel;
    if (auto level = view[levelAttribute])
        record.level = *level;
    if (auto message = view[logging::expressions::smessage])
        record.message = *message;
    return record;
}

// A backend that hands each record to a function; the frontend serialises the calls.
class FunctionBackend
    : public logging::sinks::basic_sink_backend<logging::sinks::concurrent_feeding> {
public:
    explicit FunctionBackend(std::function<void(Record)> consume) : consume_(std::move(consume)) {}
    void consume(const logging::record_view& view) { consume_(toRecord(view)); }

private:
    std::function<void(Record)> consume_;
};

using FunctionSink = logging::sinks::synchronous_sink<FunctionBackend>;

// Boost.Log prints to the console through its default sink while no sink is registered;
// records must go only where the host program sends them, so a sink that drops
// everything is always registered.
void registerDiscardingSinkOnce() {
    static const bool registered = [] {
        auto discard =
            boost::make_shared<FunctionSink>(boost::make_shared<FunctionBackend>([](Record) {}));
        logging::core::get()->add_sink(discard);
        return true;
    }();
    (void)registered;
}

} // namespace

basic_diagnostic_logger::basic_diagnostic_logger(std::string channel, level_t enabledLevels)
    : channel_(std::move(channel)), enabledLevels_(enabledLevels),
      source_(logging::keywords::channel = channel_) {
    registerDiscardingSinkOnce();
}

void basic_diagnostic_logger::write(level_t level, std::string_view message) {
    if (!isEnabled(level))
        return;
    BOOST_LOG_SEV(source_, level) << message;
}

struct RecordCapture::Sink {
    mutable std::mutex mutex;
    std::vector<Record> records;
    boost::shared_ptr<FunctionSink> frontend;
};

RecordCapture::RecordCapture(std::string channel) : sink_(std::make_shared<Sink>()) {
    registerDiscardingSinkOnce();
    std::weak_ptr<Sink> target = sink_;
    sink_->frontend = boost::make_shared<FunctionSink>(
        boost::make_shared<FunctionBackend>([target, channel](Record record) {
            if (record.channel != channel)
                return;
            if (auto sink = target.lock()) {
                std::lock_guard lock(sink->mutex);
                sink->records.push_back(std::move(record));
            }
        }));
    logging::core::get()->add_sink(sink_->frontend);
}

RecordCapture::~RecordCapture() {
    logging::core::get()->remove_sink(sink_->frontend);
}

std::vector<Record> RecordCapture::records() const {
    std::lock_guard lock(sink_->mutex);
    return sink_->records;
}

void enableStderrSink(bool on) {
    static std::mutex mutex;
    static boost::shared_ptr<FunctionSink> sink;
    std::lock_guard lock(mutex);
    registerDiscardingSinkOnce();
    if (on && !sink) {
        sink = boost::make_shared<FunctionSink>(boost::make_shared<FunctionBackend>([](Record r) {
            std::cerr << "[" << r.channel << "] " << r.level << ": " << r.message << "\n";
        }));
        logging::core::get()->add_sink(sink);
    } else if (!on && sink) {
        logging::core::get()->remove_sink(sink);
        sink.reset();
    }
}

} // namespace foundation::log

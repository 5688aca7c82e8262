#include "statebus/requests.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>

namespace statebus {

namespace {

using std::chrono::microseconds;

constexpr char kDaemon[] = "org.freedesktop.DBus";
constexpr char kDaemonPath[] = "/org/freedesktop/DBus";

/// One question on its way. Lives as long as somebody answers or waits.
class Question : public std::enable_shared_from_this<Question> {
public:
    Question(Connection& connection, std::shared_ptr<Call> call, Request request)
        : connection_(connection), call_(std::move(call)), request_(std::move(request)) {}

    void start() { send({request_.type, request_.instance.value_or("")}, !request_.instance); }

private:
    void send(const StateName& name, bool orTheOnlyOne) {
        const std::optional<std::string> destination = busName(name);
        const auto left =
            std::chrono::duration_cast<microseconds>(call_->deadline() - Clock::now());
        if (!destination || left.count() <= 0) {
            call_->finish(false);
            return;
        }
        MessagePtr message = connection_.newCall(destination->c_str(), objectPath(name),
                                                 kStateInterface, request_.member);
        if (message == nullptr || request_.append(message.get()) < 0) {
            call_->finish(false);
            return;
        }
        connection_.send(std::move(message), left,
                         [self = shared_from_this(), orTheOnlyOne](sd_bus_message* answer) {
                             self->onAnswer(answer, orTheOnlyOne);
                         });
    }

    void onAnswer(sd_bus_message* answer, bool orTheOnlyOne) {
        if (orTheOnlyOne && isNobody(answer)) {
            listStates(connection_, [self = shared_from_this()](bool, const auto& states) {
                self->sendToTheOnlyOne(states);
            });
            return;
        }
        int accepted = 0;
        call_->finish(!isFailure(answer) && sd_bus_message_read_basic(answer, 'b', &accepted) > 0 &&
                      accepted != 0);
    }

    void sendToTheOnlyOne(const std::vector<StateName>& states) {
        std::vector<StateName> ours;
        std::copy_if(states.begin(), states.end(), std::back_inserter(ours),
                     [&](const StateName& name) { return name.type == request_.type; });
        if (ours.size() == 1)
            send(ours.front(), false);
        else
            call_->finish(false);
    }

    static bool isNobody(sd_bus_message* answer) {
        return answer != nullptr &&
               (sd_bus_message_is_method_error(answer, SD_BUS_ERROR_SERVICE_UNKNOWN) > 0 ||
                sd_bus_message_is_method_error(answer, SD_BUS_ERROR_NAME_HAS_NO_OWNER) > 0);
    }

    Connection& connection_;
    std::shared_ptr<Call> call_;
    Request request_;
};

} // namespace

bool ask(Connection& connection, CallGroup& calls, Request request) {
    const std::shared_ptr<Call> call = calls.begin();
    auto question = std::make_shared<Question>(connection, call, std::move(request));
    if (!connection.post([question] { question->start(); }))
        call->finish(false);
    const bool result = call->wait();
    calls.end(call);
    return result;
}

void listStates(Connection& connection, std::function<void(bool, std::vector<StateName>)> found) {
    connection.send(connection.newCall(kDaemon, kDaemonPath, kDaemon, "ListNames"), kAnswerLimit,
                    [found = std::move(found)](sd_bus_message* answer) {
                        std::vector<StateName> states;
                        if (isFailure(answer) ||
                            sd_bus_message_enter_container(answer, 'a', "s") <= 0) {
                            found(false, {});
                            return;
                        }
                        const char* text = nullptr;
                        while (sd_bus_message_read_basic(answer, 's', &text) > 0)
                            if (const std::optional<StateName> name = fromBusName(text))
                                states.push_back(*name);
                        std::sort(states.begin(), states.end());
                        found(true, std::move(states));
                    });
}

} // namespace statebus

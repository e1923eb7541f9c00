#include "server/Agent.h"

#include "server/Log.h"

namespace ternvault::server {

Answer answerTo(const Refusal& refusal) {
    return {refusal.status(), refusalBody(refusal)};
}

Agent::Agent(const Configuration& configuration, std::string token, const std::shared_ptr<Programs>& programs)
    : token_(std::move(token)), disks_(std::make_shared<Inventory>(programs, configuration)),
      accounts_(programs, configuration) {}

Operation Agent::admit(const RequestHead& head) const {
    return server::admit(head, token_);
}

Answer Agent::fulfil(Operation operation, std::string_view body) {
    try {
        if (operation == Operation::listDisks)
            return {200, disks_.get()};
        accounts_.create(readNewAccount(body));
        return {201, "{}"};
    } catch (const Refusal& refusal) {
        return answerTo(refusal);
    } catch (const std::exception& error) {
        logLine(std::string("failed: ") + error.what());
        return answerTo(Refusal(500, "failed", "The PC's agent failed, its log tells more"));
    }
}

} // namespace ternvault::server

#include "server/HttpServer.h"

#include "base/FileDescriptor.h"
#include "server/Log.h"

#include <cerrno>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <microhttpd.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace ternvault::server {

namespace {

constexpr unsigned mostConnections = 512;
/// A client that goes wrong leaves room for others.
constexpr unsigned mostConnectionsPerClient = 256;
/// Headers have to fit into this, too.
constexpr std::size_t memoryPerConnection = 16 << 10;
constexpr std::size_t stackPerConnection = 256 << 10;
constexpr std::chrono::seconds requestLimit{10};
/// Longer than any answer takes to be made.
constexpr std::chrono::seconds answerLimit{60};

/// A request on its way.
struct Exchange {
    std::string line;
    std::optional<Operation> operation;
    /// The answer, where it is known before the body.
    std::optional<Answer> refusal;
    std::string_view allowed;
    std::string body;
};

std::optional<std::string_view> header(MHD_Connection* connection, const char* name) {
    const char* value = nullptr;
    std::size_t size = 0;
    if (MHD_lookup_connection_value_n(connection, MHD_HEADER_KIND, name, std::strlen(name), &value, &size) !=
        MHD_YES)
        return std::nullopt;
    return std::string_view(value, size);
}

MHD_Result send(MHD_Connection* connection, const Exchange& exchange, const Answer& answer) {
    // The response takes copies of what it is given.
    MHD_Response* response = MHD_create_response_from_buffer(
        answer.body.size(), const_cast<char*>(answer.body.data()), MHD_RESPMEM_MUST_COPY);
    if (response == nullptr)
        return MHD_NO;
    MHD_add_response_header(response, "Content-Type", "application/json");
    MHD_add_response_header(response, "Connection", "close");
    if (answer.status == MHD_HTTP_METHOD_NOT_ALLOWED)
        MHD_add_response_header(response, "Allow", std::string(exchange.allowed).c_str());
    if (answer.status == MHD_HTTP_UNAUTHORIZED)
        MHD_add_response_header(response, "WWW-Authenticate", "Bearer");
    const MHD_Result result = MHD_queue_response(connection, answer.status, response);
    MHD_destroy_response(response);
    logLine(exchange.line + ' ' + std::to_string(answer.status));
    return result;
}

int socketOf(MHD_Connection* connection) {
    return MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
}

struct FreeAddresses {
    void operator()(addrinfo* addresses) const { ::freeaddrinfo(addresses); }
};

[[noreturn]] void fail(const std::string& address, std::uint16_t port, const std::string& reason) {
    throw std::runtime_error("cannot listen on " + address + ", port " + std::to_string(port) + ": " +
                             reason);
}

/// None when this PC does not have the address's family.
FileDescriptor listenOn(const std::string& address, std::uint16_t port) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (const int code = ::getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found);
        code != 0)
        fail(address, port, ::gai_strerror(code));
    const std::unique_ptr<addrinfo, FreeAddresses> owner(found);
    FileDescriptor socket(::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket && errno == EAFNOSUPPORT)
        return socket;
    const int on = 1;
    ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (found->ai_family == AF_INET6)
        ::setsockopt(socket.get(), IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on);
    if (::bind(socket.get(), found->ai_addr, found->ai_addrlen) != 0 ||
        ::listen(socket.get(), SOMAXCONN) != 0)
        fail(address, port, std::generic_category().message(errno));
    return socket;
}

} // namespace

/// What libmicrohttpd calls, from the thread of the connection; nothing may be thrown through it.
struct Callbacks {
    static MHD_Result handle(void* closure, MHD_Connection* connection, const char* target,
                             const char* method, const char*, const char* data, std::size_t* size,
                             void** state) noexcept {
        auto& server = *static_cast<HttpServer*>(closure);
        try {
            if (*state == nullptr)
                return begin(server, connection, target, method, state);
            auto& exchange = *static_cast<Exchange*>(*state);
            if (*size > 0)
                return receive(exchange, {data, std::exchange(*size, 0)});
            server.deadlines_.set(socketOf(connection), answerLimit);
            return send(connection, exchange,
                        exchange.refusal ? *exchange.refusal
                                         : server.agent_.fulfil(*exchange.operation, exchange.body));
        } catch (const std::exception& error) {
            logLine(std::string("connection dropped: ") + error.what());
            return MHD_NO;
        }
    }

    static MHD_Result begin(HttpServer& server, MHD_Connection* connection, const char* target,
                            const char* method, void** state) {
        auto owner = std::make_unique<Exchange>();
        Exchange& exchange = *owner;
        *state = owner.release();
        exchange.line = printable(method) + ' ' + printable(target);
        exchange.allowed = allowedMethod(target).value_or("");
        try {
            exchange.operation =
                server.agent_.admit({method, target, header(connection, MHD_HTTP_HEADER_AUTHORIZATION),
                                     header(connection, "X-TernVault-Token")});
        } catch (const Refusal& refusal) {
            exchange.refusal = answerTo(refusal);
        }
        return MHD_YES;
    }

    /// Keeps what is wanted of a body. The rest is read and dropped until the deadline, because a client that
    /// is still sending when its connection closes may lose the answer.
    static MHD_Result receive(Exchange& exchange, std::string_view part) {
        if (!exchange.refusal && exchange.body.size() + part.size() > largestBody)
            exchange.refusal = answerTo(Refusal(413, "too_large", "The request is too large"));
        if (!exchange.refusal)
            exchange.body += part;
        return MHD_YES;
    }

    static void finish(void*, MHD_Connection*, void** state, MHD_RequestTerminationCode) noexcept {
        delete static_cast<Exchange*>(*state);
        *state = nullptr;
    }

    static void watch(void* closure, MHD_Connection* connection, void**,
                      MHD_ConnectionNotificationCode what) noexcept {
        auto& deadlines = static_cast<HttpServer*>(closure)->deadlines_;
        if (what == MHD_CONNECTION_NOTIFY_STARTED)
            deadlines.set(socketOf(connection), requestLimit);
        else
            deadlines.forget(socketOf(connection));
    }

    /// Targets stay as they were sent.
    static std::size_t keep(void*, MHD_Connection*, char* text) noexcept { return std::strlen(text); }
};

void HttpServer::StopDaemon::operator()(MHD_Daemon* daemon) const {
    MHD_stop_daemon(daemon);
}

HttpServer::HttpServer(Agent& agent, const std::vector<std::string>& addresses, std::uint16_t port)
    : agent_(agent) {
    for (const std::string& address : addresses) {
        FileDescriptor socket = listenOn(address, port);
        if (!socket) {
            logLine("this PC does not have the family of " + address);
            continue;
        }
        MHD_Daemon* daemon = MHD_start_daemon(
            MHD_USE_THREAD_PER_CONNECTION | MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_POLL | MHD_USE_ITC, 0,
            nullptr, nullptr, &Callbacks::handle, this, MHD_OPTION_LISTEN_SOCKET, socket.get(),
            MHD_OPTION_CONNECTION_LIMIT, mostConnections, MHD_OPTION_PER_IP_CONNECTION_LIMIT,
            mostConnectionsPerClient, MHD_OPTION_CONNECTION_MEMORY_LIMIT, memoryPerConnection,
            MHD_OPTION_THREAD_STACK_SIZE, stackPerConnection, MHD_OPTION_NOTIFY_COMPLETED, &Callbacks::finish,
            nullptr, MHD_OPTION_NOTIFY_CONNECTION, &Callbacks::watch, this, MHD_OPTION_UNESCAPE_CALLBACK,
            &Callbacks::keep, nullptr, MHD_OPTION_END);
        if (daemon == nullptr)
            fail(address, port, "the HTTP server does not start");
        socket.release();
        daemons_.emplace_back(daemon);
    }
    if (daemons_.empty())
        throw std::runtime_error("there is no address to listen on");
}

} // namespace ternvault::server

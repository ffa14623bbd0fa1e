// tavrel serve: the installation over HTTP, as a JSON API and one page.
//
// The library is single-threaded and keeps process-wide state (the
// installation and configuration in force, the root model, the section pools),
// so every call into it runs under one lock, on a template object of its own.
// Requests are read and answered concurrently around that lock, and the
// description of a scenario is kept, with the size and time of its file, so
// that repeated reads of an unchanged file are answered without the library.
#include "Browse.h"
#include "Commands.h"
#include "Common.h"
#include "ScenarioContent.h"
#include "VariadicEdit.h"
#include "WebAssets.h"

#include <ScenarioTemplateDb/Exception.h>
#include <ScenarioTemplateDb/ScenarioParameter.h>
#include <TavrelScenarioTemplateDb/TavrelDatabaseDriver.h>
#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <TavrelScenarioTemplateDb/Variants.h>

#include <Poco/Net/HTTPRequestHandler.h>
#include <Poco/Net/HTTPRequestHandlerFactory.h>
#include <Poco/Net/HTTPServer.h>
#include <Poco/Net/HTTPServerParams.h>
#include <Poco/Net/HTTPServerRequest.h>
#include <Poco/Net/HTTPServerResponse.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/SocketAddress.h>
#include <Poco/URI.h>

#include <algorithm>
#include <csignal>
#include <iomanip>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <shared_mutex>
#include <sstream>
#include <string>

#include <sys/stat.h>

using ScenarioTemplateDb::Exception;
using TavrelScenarioTemplateDb::TavrelScenario;
using json = nlohmann::ordered_json;
namespace fs = std::filesystem;
using Poco::Net::HTTPResponse;

namespace tavrel {

namespace {

constexpr size_t kMaxBody = 64 * 1024;
constexpr size_t kMaxDrained = 4 * 1024 * 1024;

struct ServeOptions {
    std::string installation;
    std::string configuration;
    std::string bind = "127.0.0.1";
    unsigned port = 8080;
    bool allowEdit = false;
};

/// A failure with the HTTP status it answers.
struct HttpError {
    HTTPResponse::HTTPStatus status;
    std::string message;
    int code;
};

[[noreturn]] void fail(HTTPResponse::HTTPStatus status, const std::string& message, int code = -1) {
    throw HttpError{status, message, code};
}

/// The size and modification time of a file, as text: what a write request
/// must send back to show that it edits what it read.
std::string revisionOf(const std::string& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0)
        return std::string();
    return std::to_string(static_cast<long long>(status.st_mtim.tv_sec) * 1000000000LL + status.st_mtim.tv_nsec) +
           "-" + std::to_string(static_cast<long long>(status.st_size));
}

/// A scenario path relative to a scenario directory: no absolute path, no "..",
/// "\" counting as a separator as well.
void checkRelative(const std::string& path, const char* what) {
    if (path.empty())
        fail(HTTPResponse::HTTP_BAD_REQUEST, std::string("no ") + what + " given");
    if (path[0] == '/' || path[0] == '\\' || (path.size() > 1 && path[1] == ':'))
        fail(HTTPResponse::HTTP_BAD_REQUEST, std::string("the ") + what + " must be relative: " + path);
    std::string step;
    for (size_t i = 0; i <= path.size(); ++i) {
        if (i == path.size() || path[i] == '/' || path[i] == '\\') {
            if (step == "..")
                fail(HTTPResponse::HTTP_BAD_REQUEST, std::string("the ") + what + " may not hold \"..\": " + path);
            step.clear();
        } else if (path[i] == '\0') {
            fail(HTTPResponse::HTTP_BAD_REQUEST, std::string("the ") + what + " holds a NUL byte");
        } else {
            step += path[i];
        }
    }
}

/// Whether `inner` (made canonical) lies inside `outer` (made canonical).
bool isInside(const fs::path& inner, const fs::path& outer) {
    std::error_code error;
    const fs::path a = fs::weakly_canonical(inner, error);
    const fs::path b = fs::canonical(outer, error);
    if (error)
        return false;
    const auto mismatch = std::mismatch(b.begin(), b.end(), a.begin(), a.end());
    return mismatch.first == b.end();
}

HTTPResponse::HTTPStatus statusOf(const Exception& e) {
    if (e.message.rfind("Could not find scenario", 0) == 0)
        return HTTPResponse::HTTP_NOT_FOUND;
    if (e.code == ScenarioTemplateDb::ExceptionCodeScenarioLoad || e.code == ScenarioTemplateDb::ExceptionCodeScenarioRead)
        return HTTPResponse::HTTP_UNPROCESSABLE_ENTITY; // the file is there but doesn't read
    return HTTPResponse::HTTP_BAD_REQUEST;
}

/// Runs `body`, turning the library's failures of every form into HttpError.
template <class Body> auto library(Body body) -> decltype(body()) {
    try {
        return body();
    } catch (const Exception& e) {
        fail(statusOf(e), e.message, e.code);
    } catch (Exception* e) {
        const Exception copy = *e;
        delete e;
        fail(statusOf(copy), copy.message, copy.code);
    } catch (const std::exception& e) {
        fail(HTTPResponse::HTTP_BAD_REQUEST, e.what());
    }
}

std::string randomToken() {
    std::random_device device;
    std::ostringstream out;
    out << std::hex;
    for (int i = 0; i < 4; ++i)
        out << std::setw(8) << std::setfill('0') << device();
    return out.str();
}

class Site {
public:
    Site(ServeOptions options, const Poco::Net::SocketAddress& address)
        : options(std::move(options)), token(randomToken()), loopback(address.host().isLoopback()),
          port(std::to_string(address.port())) {}

    void handle(Poco::Net::HTTPServerRequest& request, Poco::Net::HTTPServerResponse& response);

    const ServeOptions options;
    const std::string token;

private:
    /// Whether a request names this server as a loopback server is named. A
    /// page of another site whose name was made to point here (DNS rebinding)
    /// names its own host.
    bool isOwnHost(const std::string& host) const {
        return !loopback || host == "127.0.0.1:" + port || host == "localhost:" + port || host == "[::1]:" + port;
    }

    const bool loopback;
    const std::string port;
    struct Opened {
        std::shared_ptr<TavrelScenario> scenario;
        std::string configuration;
        std::string directory; // the scenario directory the path is relative to
    };
    struct Cached {
        std::string file;
        std::string revision;
        std::string body;
    };

    std::string configurationOf(const Poco::URI::QueryParameters& query) const;
    Opened open(const std::string& path, std::string configuration);
    json describe(const Opened& opened, const std::string& path);
    std::string scenarioBody(const std::string& path, const std::string& configuration);
    json edit(const std::string& route, const json& body);

    std::mutex libraryLock; // every call into the library
    std::shared_mutex cacheLock;
    std::map<std::pair<std::string, std::string>, Cached> cache;
};

std::string parameter(const Poco::URI::QueryParameters& query, const std::string& name) {
    for (const auto& [key, value] : query)
        if (key == name)
            return value;
    return std::string();
}

std::string Site::configurationOf(const Poco::URI::QueryParameters& query) const {
    const std::string given = parameter(query, "configuration");
    return given.empty() ? options.configuration : given;
}

Site::Opened Site::open(const std::string& path, std::string configuration) {
    checkRelative(path, "scenario path");
    Opened opened;
    library([&] {
        auto scenario = openDriver(options.installation, configuration).getScenario(path);
        opened.scenario = std::dynamic_pointer_cast<TavrelScenario>(scenario);
    });
    opened.configuration = configuration;
    const std::string file = opened.scenario->getFilePath();
    opened.directory = file.substr(0, file.size() - path.size());
    // A link may still lead elsewhere: the file must lie in its directory.
    if (!isInside(file, opened.directory))
        fail(HTTPResponse::HTTP_BAD_REQUEST, "the scenario path leads out of the data path: " + path);
    return opened;
}

json Site::describe(const Opened& opened, const std::string& path) {
    json out = library([&] { return describeScenario(*opened.scenario); });
    out["path"] = path;
    out["configuration"] = opened.configuration;
    out["revision"] = revisionOf(opened.scenario->getFilePath());
    return out;
}

std::string Site::scenarioBody(const std::string& path, const std::string& configuration) {
    const auto key = std::make_pair(configuration, path);
    {
        std::shared_lock<std::shared_mutex> reading(cacheLock);
        const auto found = cache.find(key);
        if (found != cache.end() && revisionOf(found->second.file) == found->second.revision)
            return found->second.body;
    }
    std::lock_guard<std::mutex> locked(libraryLock);
    const Opened opened = open(path, configuration);
    const std::string file = opened.scenario->getFilePath();
    const std::string revision = revisionOf(file);
    std::string body = describe(opened, path).dump();
    std::unique_lock<std::shared_mutex> writing(cacheLock);
    cache[key] = Cached{file, revision, body};
    return body;
}

// The edits, each on a template opened for it, after the revision check.
json Site::edit(const std::string& route, const json& body) {
    auto text = [&](const char* key) {
        if (!body.contains(key) || body[key].is_null())
            return std::string();
        return body[key].is_string() ? body[key].get<std::string>() : body[key].dump();
    };
    const std::string path = text("path");
    std::string configuration = text("configuration");
    if (configuration.empty())
        configuration = options.configuration;

    std::lock_guard<std::mutex> locked(libraryLock);
    Opened opened = open(path, configuration);
    const std::string file = opened.scenario->getFilePath();
    if (route == "/api/variants") {
        const std::string folder = text("folder").empty() ? "variants" : text("folder");
        checkRelative(folder, "folder");
        const fs::path out = fs::path(opened.directory) / folder;
        if (!isInside(out, opened.directory))
            fail(HTTPResponse::HTTP_BAD_REQUEST, "the folder leads out of the data path: " + folder);
        TavrelScenarioTemplateDb::VariantPlan plan;
        const std::string mode = text("mode");
        plan.sampling = mode == "grid"     ? TavrelScenarioTemplateDb::VariantPlan::Grid
                        : mode == "random" ? TavrelScenarioTemplateDb::VariantPlan::Random
                        : mode == "defaults" || mode.empty()
                            ? TavrelScenarioTemplateDb::VariantPlan::Defaults
                            : (fail(HTTPResponse::HTTP_BAD_REQUEST, "mode is defaults, grid or random: " + mode),
                               TavrelScenarioTemplateDb::VariantPlan::Defaults);
        auto number = [&](const char* key, uint64_t fallback) -> uint64_t {
            if (!body.contains(key))
                return fallback;
            if (!body[key].is_number_unsigned())
                fail(HTTPResponse::HTTP_BAD_REQUEST, std::string(key) + " must be a whole number");
            return body[key].get<uint64_t>();
        };
        plan.steps = static_cast<unsigned>(std::min<uint64_t>(number("steps", 3), 1000000));
        plan.count = number("count", 0);
        plan.seed = number("seed", 0);
        plan.max = std::min<uint64_t>(number("max", 10000), 10000);
        if (plan.count > plan.max)
            fail(HTTPResponse::HTTP_BAD_REQUEST, "count is over the limit of " + std::to_string(plan.max));
        return library([&] {
            const auto written = TavrelScenarioTemplateDb::GenerateVariants(*opened.scenario, plan, out.string());
            const TavrelScenarioTemplateDb::VariantWriter names(*opened.scenario);
            json variants = json::array();
            for (const auto& variant : written) {
                json values = json::object();
                for (size_t i = 0; i < names.getDomains().size(); ++i)
                    std::visit([&](const auto& v) { values[names.getDomains()[i].name] = v; }, variant.values[i]);
                variants.push_back({{"file", variant.file}, {"values", values}});
            }
            return json{{"folder", out.string()}, {"manifest", (out / "variants.csv").string()}, {"variants", variants}};
        });
    }

    if (text("revision") != revisionOf(file))
        fail(HTTPResponse::HTTP_CONFLICT, "the file changed on disk since it was read: read it again");
    library([&] {
        TavrelScenario& scenario = *opened.scenario;
        if (route == "/api/scenario/set") {
            if (body.contains("name"))
                scenario.setName(text("name"));
            if (body.contains("description"))
                scenario.setDescription(text("description"));
        } else if (route == "/api/variadic/add") {
            VariadicDeclaration declaration;
            declaration.name = text("name");
            declaration.description = text("description");
            declaration.target = text("target");
            declaration.unit = text("unit");
            declaration.type = text("type");
            declaration.defaultValue = text("default");
            for (const char* list : {"ranges", "literals"}) {
                if (!body.contains(list))
                    continue;
                if (!body[list].is_array())
                    fail(HTTPResponse::HTTP_BAD_REQUEST, std::string(list) + " must be a list");
                for (const auto& item : body[list])
                    (list[0] == 'r' ? declaration.ranges : declaration.literals)
                        .push_back(item.is_string() ? item.get<std::string>() : item.dump());
            }
            addVariadic(scenario, declaration);
        } else if (route == "/api/variadic/remove") {
            if (!body.contains("index") || !body["index"].is_number_unsigned())
                fail(HTTPResponse::HTTP_BAD_REQUEST, "index must be a whole number");
            removeVariadic(scenario, body["index"].get<size_t>());
        } else if (route == "/api/variadic/clear") {
            clearVariadics(scenario);
        } else {
            fail(HTTPResponse::HTTP_NOT_FOUND, "no such route: " + route);
        }
        const std::string before = revisionOf(file);
        scenario.save();
        if (revisionOf(file) == before)
            fail(HTTPResponse::HTTP_INTERNAL_SERVER_ERROR, "the scenario file could not be written: " + file);
    });
    // Read back through a template of its own, as the next reader will.
    Opened reread = open(path, configuration);
    json described = describe(reread, path);
    std::unique_lock<std::shared_mutex> writing(cacheLock);
    cache.erase({configuration, path});
    return json{{"scenario", described}};
}

void send(Poco::Net::HTTPServerResponse& response, HTTPResponse::HTTPStatus status, const std::string& type,
          const std::string& body) {
    response.setStatus(status);
    response.setContentType(type);
    response.set("Cache-Control", "no-store");
    response.set("X-Content-Type-Options", "nosniff");
    response.setContentLength(static_cast<std::streamsize>(body.size()));
    response.send().write(body.data(), static_cast<std::streamsize>(body.size()));
}

void sendJson(Poco::Net::HTTPServerResponse& response, HTTPResponse::HTTPStatus status, const std::string& body) {
    send(response, status, "application/json", body);
}

void Site::handle(Poco::Net::HTTPServerRequest& request, Poco::Net::HTTPServerResponse& response) {
    try {
        if (!isOwnHost(request.getHost()))
            fail(HTTPResponse::HTTP_FORBIDDEN, "requests for another host are refused: " + request.getHost());
        // A page of another site may send requests here through the browser:
        // only this server's own pages may.
        if (request.has("Origin") && request.get("Origin") != "http://" + request.getHost())
            fail(HTTPResponse::HTTP_FORBIDDEN, "requests from another origin are refused");
        const Poco::URI uri(request.getURI());
        const std::string route = uri.getPath();
        const Poco::URI::QueryParameters query = uri.getQueryParameters();
        const bool get = request.getMethod() == Poco::Net::HTTPRequest::HTTP_GET;
        const bool post = request.getMethod() == Poco::Net::HTTPRequest::HTTP_POST;

        if (route.rfind("/api/", 0) != 0) {
            if (!get)
                fail(HTTPResponse::HTTP_METHOD_NOT_ALLOWED, "only GET serves the page");
            const char* body = route == "/" || route == "/index.html" ? web::kIndex
                               : route == "/app.js"                   ? web::kScript
                               : route == "/style.css"                ? web::kStyle
                                                                      : nullptr;
            if (body == nullptr)
                fail(HTTPResponse::HTTP_NOT_FOUND, "no such page: " + route);
            const char* type = route == "/app.js"      ? "text/javascript; charset=utf-8"
                               : route == "/style.css" ? "text/css; charset=utf-8"
                                                       : "text/html; charset=utf-8";
            send(response, HTTPResponse::HTTP_OK, type, body);
            return;
        }

        if (post) {
            if (!options.allowEdit)
                fail(HTTPResponse::HTTP_FORBIDDEN, "editing is not allowed: start the server with --allow-edit");
            if (!request.has("X-Tavrel-Token") || request.get("X-Tavrel-Token") != token)
                fail(HTTPResponse::HTTP_FORBIDDEN, "a write needs the edit token printed at start (X-Tavrel-Token)");
            if (request.getContentType().rfind("application/json", 0) != 0)
                fail(HTTPResponse::HTTP_UNSUPPORTED_MEDIA_TYPE, "a write sends application/json");
            // A client that sends its whole body before it reads the answer
            // would find the connection closed under it: a body up to a bound
            // is read and dropped first, so that it gets the answer.
            auto tooLarge = [&] {
                request.stream().ignore(static_cast<std::streamsize>(kMaxDrained));
                fail(HTTPResponse::HTTP_REQUEST_ENTITY_TOO_LARGE,
                     "the request body is over " + std::to_string(kMaxBody) + " bytes");
            };
            if (request.hasContentLength() && request.getContentLength64() > static_cast<Poco::Int64>(kMaxBody))
                tooLarge();
            std::string text(kMaxBody + 1, '\0');
            request.stream().read(&text[0], static_cast<std::streamsize>(text.size()));
            text.resize(static_cast<size_t>(request.stream().gcount()));
            if (text.size() > kMaxBody)
                tooLarge();
            const json body = json::parse(text, nullptr, false);
            if (body.is_discarded() || !body.is_object())
                fail(HTTPResponse::HTTP_BAD_REQUEST, "the request body is not a JSON object");
            sendJson(response, HTTPResponse::HTTP_OK, edit(route, body).dump());
            return;
        }
        if (!get)
            fail(HTTPResponse::HTTP_METHOD_NOT_ALLOWED, "the API answers GET, and POST for edits");

        if (route == "/api/info") {
            sendJson(response, HTTPResponse::HTTP_OK,
                     json{{"installation", resolveInstallation(options.installation)},
                          {"configuration", options.configuration},
                          {"allowEdit", options.allowEdit}}
                         .dump());
        } else if (route == "/api/browse") {
            std::lock_guard<std::mutex> locked(libraryLock);
            std::string configuration = "*";
            const json tree = library([&] {
                const auto driver = openDriver(options.installation, configuration);
                return walkInstallation(driver, "*", false);
            });
            sendJson(response, HTTPResponse::HTTP_OK, tree.dump());
        } else if (route == "/api/scenario") {
            sendJson(response, HTTPResponse::HTTP_OK,
                     scenarioBody(parameter(query, "path"), configurationOf(query)));
        } else if (route == "/api/parameter") {
            std::lock_guard<std::mutex> locked(libraryLock);
            const Opened opened = open(parameter(query, "path"), configurationOf(query));
            const std::string id = parameter(query, "id");
            const json found = library([&] {
                const ScenarioTemplateDb::ScenarioParameter* p = opened.scenario->getParameterFromId(id);
                if (p == nullptr)
                    throw Exception("Invalid parameter id: " + id, ScenarioTemplateDb::ExceptionCodeGeneric);
                return describeParameter(*p);
            });
            sendJson(response, HTTPResponse::HTTP_OK, found.dump());
        } else if (route == "/api/raw") {
            std::lock_guard<std::mutex> locked(libraryLock);
            const Opened opened = open(parameter(query, "path"), configurationOf(query));
            std::vector<unsigned char> bytes;
            library([&] { opened.scenario->fetch(bytes); });
            send(response, HTTPResponse::HTTP_OK, "application/xml; charset=utf-8",
                 std::string(bytes.begin(), bytes.end()));
        } else {
            fail(HTTPResponse::HTTP_NOT_FOUND, "no such route: " + route);
        }
    } catch (const HttpError& error) {
        sendJson(response, error.status,
                 json{{"error", {{"message", error.message}, {"code", error.code}}}}.dump());
    } catch (const Poco::Exception& error) {
        // A request the server can't read (a bad URI, a broken connection).
        sendJson(response, HTTPResponse::HTTP_BAD_REQUEST,
                 json{{"error", {{"message", error.displayText()}, {"code", -1}}}}.dump());
    } catch (const std::exception& error) {
        sendJson(response, HTTPResponse::HTTP_INTERNAL_SERVER_ERROR,
                 json{{"error", {{"message", error.what()}, {"code", -1}}}}.dump());
    }
}

class Handler : public Poco::Net::HTTPRequestHandler {
public:
    explicit Handler(Site& site) : site(site) {}
    void handleRequest(Poco::Net::HTTPServerRequest& request, Poco::Net::HTTPServerResponse& response) override {
        site.handle(request, response);
    }

private:
    Site& site;
};

class Factory : public Poco::Net::HTTPRequestHandlerFactory {
public:
    explicit Factory(Site& site) : site(site) {}
    Poco::Net::HTTPRequestHandler* createRequestHandler(const Poco::Net::HTTPServerRequest&) override {
        return new Handler(site);
    }

private:
    Site& site;
};

void serve(const ServeOptions& options) {
    // Termination requests are waited for, not handled: block them before the
    // server's threads start, so that they all inherit the mask.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    Poco::Net::ServerSocket socket(Poco::Net::SocketAddress(options.bind, static_cast<Poco::UInt16>(options.port)));
    Site site(options, socket.address());
    auto* parameters = new Poco::Net::HTTPServerParams;
    parameters->setMaxThreads(8);
    parameters->setMaxQueued(64);
    Poco::Net::HTTPServer server(new Factory(site), socket, parameters);
    server.start();
    const std::string address = "http://" + socket.address().toString() + "/";
    std::cout << "serving " << address << (options.allowEdit ? "?token=" + site.token : std::string()) << "\n";
    if (options.allowEdit)
        std::cout << "editing allowed; edit token " << site.token << "\n";
    else
        std::cout << "read-only\n";
    if (!socket.address().host().isLoopback())
        std::cout << "warning: listening beyond this machine (" << options.bind << ")\n";
    std::cout << std::flush;
    int received = 0;
    sigwait(&signals, &received);
    server.stop();
}

} // namespace

void addServeCommand(CLI::App& app) {
    auto options = std::make_shared<ServeOptions>();
    CLI::App* command =
        app.add_subcommand("serve", "Serve the installation over HTTP: a JSON API and a page to browse it");
    command->add_option("--installation", options->installation,
                        "Installation file (default: $TAVREL_CONFIG, else the sample)");
    command->add_option("--configuration", options->configuration,
                        "Configuration of requests that name none (default: the installation's current one)");
    command->add_option("--bind", options->bind, "Address to listen on (default 127.0.0.1)");
    command->add_option("--port", options->port, "Port to listen on (default 8080; 0 for any free one)")
        ->check(CLI::Range(0u, 65535u));
    command->add_flag("--allow-edit", options->allowEdit,
                      "Allow edits (each needs the token printed at start)");
    command->callback([options] { runReporting([&] { serve(*options); }); });
}

} // namespace tavrel

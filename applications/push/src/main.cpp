#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <unistd.h>

#include <gst/gst.h>

#include "exit_code.h"
#include "file_server.h"
#include "media_file.h"
#include "options.h"
#include "printable.h"
#include "progress.h"
#include "push_session.h"
#include "renderer.h"
#include "renderer_search.h"
#include "waiter.h"

namespace {

using push::Choice;
using push::ExitCode;

ExitCode fail(ExitCode code, const std::string& sentence) {
    std::cerr << "ketra-push: " << sentence << std::endl;
    return code;
}

void printRenderers(std::ostream& out, const push::RendererSearch& search) {
    for (const auto& renderer : search.found()) {
        out << push::printable(renderer->name.friendlyName) << "\t"
            << push::printable(renderer->name.udn) << "\t" << push::printable(renderer->location)
            << '\n';
    }
    out.flush();
}

ExitCode list(push::RendererSearch& search, push::Waiter& waiter, const push::Options& options) {
    const auto never = [] {
        return false;
    };
    if (waiter.until(never, options.timeout) == push::Waiter::Result::kInterrupted) {
        return ExitCode::kInterrupted;
    }
    printRenderers(std::cout, search);
    return search.found().empty() ? fail(ExitCode::kNothingFound, "no television answered")
                                  : ExitCode::kDone;
}

ExitCode sayWhyNot(const Choice& choice, const push::RendererSearch& search,
                   const push::Options& options) {
    switch (choice.kind) {
    case Choice::Kind::kUnknown:
        fail(ExitCode::kNameUnknown,
             "no television is called \"" + options.rendererName + "\"; these answered:");
        printRenderers(std::cerr, search);
        return ExitCode::kNameUnknown;
    case Choice::Kind::kAmbiguous:
        fail(ExitCode::kNameAmbiguous, "several televisions could be meant, say which with --to "
                                       "NAME (or the uuid); these answered:");
        printRenderers(std::cerr, search);
        return ExitCode::kNameAmbiguous;
    case Choice::Kind::kNone:
    case Choice::Kind::kOne:
        break;
    }
    return fail(ExitCode::kNothingFound, "no television answered");
}

ExitCode pushTo(std::shared_ptr<const push::FoundRenderer> found, const push::MediaFile& file,
                const push::RendererSearch& search, push::Waiter& waiter,
                const push::Options& options) {
    push::Renderer renderer(found->device.get());
    if (!renderer.hasTransport()) {
        return fail(ExitCode::kRefused, push::printable(found->name.friendlyName) +
                                            " cannot be played on: it has no AVTransport service");
    }
    push::FileServer server;
    std::string error;
    if (!server.start(file, found->localAddress, options.port, error)) {
        return fail(ExitCode::kServerFailed, error);
    }
    push::Progress progress(std::cout, isatty(STDOUT_FILENO) != 0);
    return push::PushSession(std::move(renderer), std::move(found), search, file, server, waiter,
                             progress)
        .run(options.keepPhoto);
}

ExitCode run(const push::Options& options) {
    std::string error;
    std::optional<push::MediaFile> file;
    if (options.action == push::Options::Action::kPush) {
        file = push::describeMedia(options.file, error);
        if (!file) {
            return fail(ExitCode::kFileUnusable, error);
        }
    }
    push::Waiter waiter;
    push::RendererSearch search;
    if (!search.start(options.interfaceName, error)) {
        return fail(ExitCode::kNothingFound, error);
    }
    if (!file) {
        return list(search, waiter, options);
    }
    Choice choice;
    switch (search.lookFor(options.rendererName, waiter, options.timeout, choice)) {
    case push::Waiter::Result::kInterrupted:
        return ExitCode::kInterrupted;
    case push::Waiter::Result::kDone:
    case push::Waiter::Result::kTimedOut:
        break;
    }
    if (choice.kind != Choice::Kind::kOne) {
        return sayWhyNot(choice, search, options);
    }
    const auto chosen = search.found()[choice.candidates.front()];
    return pushTo(chosen, *file, search, waiter, options);
}

} // namespace

int main(int argc, char** argv) {
    push::Options options;
    std::string error;
    if (!push::parseOptions(argc, argv, options, error)) {
        if (!error.empty()) {
            fail(ExitCode::kUsage, error);
        }
        std::cerr << "Try ketra-push --help.\n";
        return static_cast<int>(ExitCode::kUsage);
    }
    if (options.action == push::Options::Action::kHelp) {
        std::cout << push::usageText();
        return static_cast<int>(ExitCode::kDone);
    }
    if (options.action == push::Options::Action::kVersion) {
        std::cout << "ketra-push " KETRA_VERSION "\n";
        return static_cast<int>(ExitCode::kDone);
    }
    const char* interfaceName = std::getenv("KETRA_INTERFACE");
    const bool isGiven = !options.interfaceName.empty();
    if (!isGiven && interfaceName != nullptr) {
        options.interfaceName = interfaceName;
    }
    if (!options.interfaceName.empty()) {
        const std::string problem = push::interfaceProblem(options.interfaceName);
        if (!problem.empty()) {
            return static_cast<int>(
                fail(ExitCode::kUsage, isGiven ? problem : problem + " (KETRA_INTERFACE)"));
        }
    }
    // GUPnP begins its User-Agent with it.
    g_set_prgname(options.controllerName.c_str());
    gst_init(nullptr, nullptr);
    return static_cast<int>(run(options));
}

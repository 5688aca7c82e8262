// A control request: the SOAPACTION header in the first line, the body behind it. Whatever becomes
// a call is checked against every service's tables, and what is answered is one sound document.
#include <string>

#include "base/xml.h"
#include "check.h"
#include "input.h"
#include "services/service_description.h"
#include "soap/soap.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vantor;
    const std::string_view input = fuzz::bytes(data, size);
    const std::size_t end = input.find('\n');
    const std::string body(end == std::string_view::npos ? "" : input.substr(end + 1));
    const ParsedSoap parsed = parseSoapRequest(body, input.substr(0, end));
    const auto* call = std::get_if<SoapCall>(&parsed);
    if (call == nullptr) {
        return 0;
    }
    FUZZ_CHECK(parseStrictXml(body) != nullptr);
    for (const ServiceDescription* service :
         {&avTransportDescription(), &renderingControlDescription(),
          &connectionManagerDescription()}) {
        const ServiceAction* action = service->findAction(call->action);
        if (action == nullptr) {
            continue;
        }
        const int error = checkArguments(*service, *action, call->arguments);
        FUZZ_CHECK(error == 0 || (error >= 400 && error < 800));
        const std::string answer =
            error == 0 ? writeSoapResponse(service->type, action->name, call->arguments)
                       : writeSoapFault(error, service->type);
        FUZZ_CHECK(parseStrictXml(answer) != nullptr);
    }
    return 0;
}

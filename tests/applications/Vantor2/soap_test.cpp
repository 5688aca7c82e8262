#include "soap/soap.h"

#include <gtest/gtest.h>

#include "base/xml.h"

namespace vantor {
namespace {

constexpr const char* kType = "urn:schemas-upnp-org:service:AVTransport:1";
constexpr const char* kPlay = "urn:schemas-upnp-org:service:AVTransport:1#Play";

std::string envelope(const std::string& inside) {
    return "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\"><s:Body>" + inside +
           "</s:Body></s:Envelope>";
}
std::string play(const std::string& arguments) {
    return envelope(std::string("<u:Play xmlns:u=\"") + kType + "\">" + arguments + "</u:Play>");
}
// The error code, 0 for a call, 400 for a malformed body.
int verdict(const std::string& body, const std::string& soapAction) {
    const ParsedSoap parsed = parseSoapRequest(body, soapAction);
    if (std::holds_alternative<MalformedBody>(parsed)) {
        return 400;
    }
    const auto* error = std::get_if<UpnpError>(&parsed);
    return error == nullptr ? 0 : error->code;
}

TEST(ASoapRequest, BecomesACallWithItsArgumentsInOrder) {
    const ParsedSoap parsed = parseSoapRequest(
        play("<Speed>1</Speed><InstanceID>0</InstanceID><Note>a &lt; b<![CDATA[ & c]]></Note>"),
        std::string("\"") + kPlay + "\"");
    const auto* call = std::get_if<SoapCall>(&parsed);
    ASSERT_NE(call, nullptr);
    EXPECT_EQ(call->serviceType, kType);
    EXPECT_EQ(call->action, "Play");
    EXPECT_EQ(call->arguments,
              (SoapArguments{{"Speed", "1"}, {"InstanceID", "0"}, {"Note", "a < b & c"}}));
}

TEST(ASoapRequest, MayHaveAHeaderAByteOrderMarkAndBlankLinesInFront) {
    const std::string plain = play("");
    EXPECT_EQ(verdict(plain, kPlay), 0);
    EXPECT_EQ(verdict("\xEF\xBB\xBF\r\n<?xml version=\"1.0\" encoding=\"utf-8\"?>" + plain, kPlay),
              0);
    std::string withHeader = plain;
    withHeader.insert(withHeader.find("<s:Body>"), "<s:Header><x/></s:Header>");
    EXPECT_EQ(verdict(withHeader, kPlay), 0);
}

TEST(ASoapRequest, MayStandOnAsManyLinesAsItLikes) {
    const ParsedSoap parsed = parseSoapRequest(play("\n  <InstanceID>\r\n\t0\r\n  </InstanceID>\n  "
                                                    "<Note>\n a  b \n</Note><None> \n</None>\n"),
                                               kPlay);
    const auto* call = std::get_if<SoapCall>(&parsed);
    ASSERT_NE(call, nullptr);
    EXPECT_EQ(call->arguments,
              (SoapArguments{{"InstanceID", "0"}, {"Note", "a  b"}, {"None", ""}}));
}

TEST(ASoapRequest, MustNameTheSameActionInHeaderAndBody) {
    EXPECT_EQ(verdict(play(""), ""), 401);
    EXPECT_EQ(verdict(play(""), std::string(kType) + "#Stop"), 401);
    EXPECT_EQ(verdict(play(""), "urn:schemas-upnp-org:service:RenderingControl:1#Play"), 401);
}

TEST(ASoapRequest, IsRefusedWhenAnArgumentComesTwiceOrHoldsElements) {
    EXPECT_EQ(verdict(play("<InstanceID>0</InstanceID><InstanceID>0</InstanceID>"), kPlay), 402);
    EXPECT_EQ(verdict(play("<InstanceID><b>0</b></InstanceID>"), kPlay), 402);
}

TEST(ASoapRequest, IsRefusedWithMoreArgumentsThanAnyActionTakes) {
    std::string arguments;
    for (int count = 0; count < 16; ++count) {
        arguments += "<a" + std::to_string(count) + "/>";
    }
    EXPECT_EQ(verdict(play(arguments), kPlay), 0);
    EXPECT_EQ(verdict(play(arguments + "<more/>"), kPlay), 402);
}

TEST(ASoapRequest, NeedsEnvelopeAndBodyInTheirNamespace) {
    EXPECT_EQ(verdict("<Envelope><Body><Play/></Body></Envelope>", kPlay), 401);
    EXPECT_EQ(verdict("<a/>", kPlay), 401);
    EXPECT_EQ(verdict(envelope(""), kPlay), 401);
    EXPECT_EQ(verdict("<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\"/>", kPlay),
              401);
}

TEST(ASoapRequest, IsMalformedWhenItIsNotOneDocument) {
    for (const std::string& body :
         {std::string(), std::string("  "), std::string("Play"), std::string("<a>"),
          play("") + play(""), "<!DOCTYPE a>" + play(""), play("&undefined;"),
          play("") + std::string(1, '\0')}) {
        EXPECT_EQ(verdict(body, kPlay), 400) << body;
    }
}

TEST(ASoapResponse, IsAWellFormedEnvelopeWhateverTheValues) {
    const std::string text =
        writeSoapResponse(kType, "GetMediaInfo", {{"CurrentURI", "a<b>&\"\x01\xFF]]>"}});
    const XmlDocument document = parseStrictXml(text);
    ASSERT_NE(document, nullptr) << text;
    const xmlNode* body = firstElement(xmlDocGetRootElement(document.get()));
    const xmlNode* response = firstElement(body);
    EXPECT_EQ(nodeName(response), "GetMediaInfoResponse");
    EXPECT_EQ(nodeNamespace(response), kType);
    EXPECT_EQ(nodeText(firstElement(response)), "a<b>&\"\xEF\xBF\xBD\xEF\xBF\xBD]]>");
}

TEST(ASoapFault, CarriesTheCodeAndWhatItMeansToTheService) {
    const std::string text = writeSoapFault(701, kType);
    EXPECT_NE(parseStrictXml(text), nullptr);
    EXPECT_NE(text.find("<errorCode>701</errorCode>"), std::string::npos);
    EXPECT_STREQ(describeUpnpError(701, kType), "Transition not available");
    EXPECT_STREQ(describeUpnpError(701, "urn:schemas-upnp-org:service:RenderingControl:1"),
                 "Invalid Name");
    EXPECT_STREQ(describeUpnpError(606, kType), "Action not authorized");
    EXPECT_STREQ(describeUpnpError(999, kType), "Action Failed");
}

} // namespace
} // namespace vantor

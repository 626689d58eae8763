// Whatever text the parser takes is well-formed XML to libxml2 and valid by the schema, and can be
// run. What follows the first zero byte of the input is what the device answers to every read.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <list>
#include <string>

#include <libxml/parser.h>
#include <libxml/xmlschemas.h>

#include <NxGenICam/GenFUControl.h>
#include <NxGenICam/GenFUParser.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

namespace {

using NyUtilsLib::Result;

class EchoUpdater : public NxGenICamLib::IGenFUUpdater {
  public:
    explicit EchoUpdater(std::string value) : mValue(std::move(value)) {}

    Result ReadGenStringValue(const std::string& /*nodeName*/, std::string& value) override {
        value = mValue;
        return {};
    }
    Result WriteGenStringValue(const std::string& /*nodeName*/,
                               const std::string& /*value*/) override {
        return {};
    }
    Result ExecuteGenCommand(const std::string& /*nodeName*/) override { return {}; }
    Result GetGenEnumEntries(const std::string& /*nodeName*/,
                             std::list<std::string>& /*entries*/) override {
        return {};
    }
    Result Write(const std::string& fileName, const std::string& /*transport*/) override {
        Require(fileName.find('/') == std::string::npos && fileName.front() != '.',
                "a file name could leave its folder");
        return {};
    }
    Result Reset() override { return {}; }

    static void Require(bool condition, const char* what) {
        if (!condition) {
            std::fprintf(stderr, "%s\n", what);
            std::abort();
        }
    }

  private:
    std::string mValue;
};

void Ignore(void* /*context*/, const char* /*format*/, ...) {}

xmlSchemaPtr Schema() {
    static const xmlSchemaPtr kSchema = [] {
        xmlSchemaParserCtxtPtr parser =
            xmlSchemaNewParserCtxt(MIRSKO_SOURCE_FOLDER "/sdk/share/FirmwareUpdate.xsd");
        xmlSchemaPtr schema = xmlSchemaParse(parser);
        xmlSchemaFreeParserCtxt(parser);
        xmlSetGenericErrorFunc(nullptr, Ignore);
        return schema;
    }();
    return kSchema;
}

void RequireValid(const std::string& text) {
    EchoUpdater::Require(Schema() != nullptr, "the schema cannot be read");
    xmlDocPtr document =
        xmlReadMemory(text.data(), static_cast<int>(text.size()), "Manifest.xml", nullptr,
                      XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NONET);
    EchoUpdater::Require(document != nullptr, "the parser takes what is not well-formed");
    xmlSchemaValidCtxtPtr validator = xmlSchemaNewValidCtxt(Schema());
    xmlSchemaSetValidErrors(validator, Ignore, Ignore, nullptr);
    EchoUpdater::Require(xmlSchemaValidateDoc(validator, document) == 0,
                         "the parser takes what the schema refuses");
    xmlSchemaFreeValidCtxt(validator);
    xmlFreeDoc(document);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(bytes), size);
    const std::string text = input.c_str();
    EchoUpdater updater(input.size() > text.size() ? input.substr(text.size() + 1) : "");
    NxGenICamLib::GenFUControl control(&updater);
    const Result built = NxGenICamLib::GenFUParser(&control).Build(text);
    if (built.GetCode() == 0) {
        RequireValid(text);
    } else {
        EchoUpdater::Require(built.GetMessage().rfind("Manifest.xml:", 0) == 0,
                             "a refusal names no place");
    }
    (void)control.Run();
    return 0;
}

#include "QuietLibraries.h"

#include <mutex>

#include <arv.h>
#include <glib.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>

namespace {

void DropLog(const char* /*domain*/, GLogLevelFlags /*level*/, const char* /*message*/,
             void* /*userData*/) {}

GLogWriterOutput DropStructuredLog(GLogLevelFlags /*level*/, const GLogField* /*fields*/,
                                   gsize /*count*/, void* /*userData*/) {
    return G_LOG_WRITER_HANDLED;
}

void DropText(const char* /*text*/) {}

void DropXmlText(void* /*context*/, const char* /*format*/, ...) {}

void DropXmlError(void* /*context*/, const xmlError* /*error*/) {}

void QuietProcess() {
    g_log_set_default_handler(DropLog, nullptr);
    g_log_set_writer_func(DropStructuredLog, nullptr, nullptr);
    g_set_print_handler(DropText);
    g_set_printerr_handler(DropText);
    // The environment variable ARV_DEBUG makes Aravis print on its own, past GLib's handlers.
    (void)arv_debug_enable("all:0");
    xmlInitParser();
    xmlThrDefSetGenericErrorFunc(nullptr, DropXmlText);
}

}  // namespace

void QuietLibraries() {
    static std::once_flag once;
    std::call_once(once, QuietProcess);
    xmlSetGenericErrorFunc(nullptr, DropXmlText);
    xmlSetStructuredErrorFunc(nullptr, reinterpret_cast<xmlStructuredErrorFunc>(DropXmlError));
}

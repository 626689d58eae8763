#include "StoredDescription.h"

#include <algorithm>
#include <cctype>

#include "DescriptionWriter.h"
#include "GenICamDescription.h"
#include "ZipArchive.h"
#include "simulator/registers/FeatureAddresses.h"

namespace simulator {

namespace {

std::string Digits(std::uint64_t value, std::size_t atLeast) {
    std::string digits = HexNumber(value).substr(2);
    return std::string(atLeast - std::min(atLeast, digits.size()), '0') + digits;
}

// The place of an older, longer description, of which only so much was overwritten.
std::string Padded(const std::string& text) {
    constexpr std::size_t kZeros = 37;
    return text + std::string(kZeros, '\0') +
           "    <pValue>OldReg</pValue>\n  </Integer>\n</RegisterDescription>\n" +
           std::string(kZeros, '\0');
}

std::string UrlOf(const DeviceOptions& options, const std::string& fileName, std::size_t size) {
    if (!options.description.contains(DescriptionShape::kBlanks)) {
        return "Local:" + fileName + ";" + Digits(features::kXml, 0) + ";" + Digits(size, 0);
    }
    std::string spaced = fileName;
    std::replace(spaced.begin(), spaced.end(), '_', ' ');
    return "local: GenICam/" + spaced + "; " + Digits(features::kXml, 8) + "; " + Digits(size, 8) +
           "?SchemaVersion=1.1.0";
}

}  // namespace

StoredDescription StoredDescription::Of(const DeviceOptions& options, Bus bus) {
    const bool oddZip = options.description.contains(DescriptionShape::kOddZip);
    const bool zipped = options.zippedXml || oddZip;
    const bool padded = options.description.contains(DescriptionShape::kPadding);
    const std::string text =
        padded ? Padded(DescribeDevice(options, bus)) : DescribeDevice(options, bus);
    const std::string name = Identifier(options.vendor + "_" + options.model);

    StoredDescription stored;
    stored.fileName = name + (zipped ? ".zip" : ".xml");
    stored.bytes = zipped
                       ? ZipOneFile(name + ".xml", text, oddZip ? ZipStyle::kOdd : ZipStyle::kUsual)
                       : std::vector<std::uint8_t>(text.begin(), text.end());
    const std::string url = UrlOf(options, stored.fileName, stored.bytes.size());
    if (options.description.contains(DescriptionShape::kSecondUrl)) {
        stored.firstUrl = "Local:" + name + "_old.xml;e0000000;4000";
        stored.secondUrl = url;
    } else {
        (options.secondUrlOnly ? stored.secondUrl : stored.firstUrl) = url;
    }
    return stored;
}

}  // namespace simulator

#include "PayloadFile.h"

#include <algorithm>
#include <utility>

#include <NxBase/Ascii.h>
#include <NxBase/PrintableText.h>
#include <NxDevice/NxDfwPayload.h>

#include "../../package/check/ModelTags.h"

PayloadFile::PayloadFile(FirmwareContent content) : FirmwareFile(std::move(content)) {}

std::string PayloadFile::Check() {
    const NxResult result = NxDfwPayload::Verify(Content().Path(), mHeader);
    if (!result.IsOK()) {
        return Content().Named(result.GetDescription().GetAscii());
    }
    if (mHeader.kind != NxDfwHeader::Kind::kFirmware) {
        return PrintableText(Name()) + ": not firmware, but a record that sets an ID or resets";
    }
    return "";
}

FirmwareFile::Answer PayloadFile::For(const FirmwareTarget& target) {
    Answer answer;
    const std::string name = PrintableText(Name());
    bool isTagged = false;
    for (const ModelTag& tag : ModelTagsOf(Name())) {
        isTagged = true;
        if (std::ranges::find(tag.models, target.model) == tag.models.end()) {
            answer.reason = name + " is for other models (" + tag.tag + ")";
            return answer;
        }
    }
    if (!target.family.empty() && target.family != mHeader.family) {
        answer.reason = name + " is for the device family " + mHeader.family +
                        ", the camera's is " + PrintableText(target.family);
        return answer;
    }
    const bool isNamed =
        Ascii::LowerCase(target.model).starts_with(Ascii::LowerCase(mHeader.family));
    answer.fit = isTagged || isNamed || !target.family.empty() ? Fit::kYes : Fit::kPossible;
    answer.plan.file = Name();
    answer.plan.uploads = {{Content().Path(), FirmwarePlan::Transport::kAny}};
    answer.plan.version = std::to_string(mHeader.major) + "." + std::to_string(mHeader.minor);
    return answer;
}

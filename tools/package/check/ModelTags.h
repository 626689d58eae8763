#pragma once

#include <string>
#include <vector>

/// A text in a firmware file's name that ties it to device models.
struct ModelTag {
    std::string tag;
    std::vector<std::string> models;
};

/// Every tag that the updater knows.
const std::vector<ModelTag>& AllModelTags();

/// The tags that a file's name or path holds, case and all.
std::vector<ModelTag> ModelTagsOf(const std::string& path);

#pragma once

#include <assimp/material.h>

#include <optional>
#include <string_view>
#include <vector>

namespace db2import {

/// What a property of a material holds. Readers store a bool and an enumerator as a buffer of one or four bytes; lengths
/// are checked, since readers fill them in from files.

[[nodiscard]] std::vector<int> intsOf(const aiMaterialProperty& property);       ///< empty when it has none
[[nodiscard]] std::vector<float> floatsOf(const aiMaterialProperty& property);   ///< likewise; of floats only
[[nodiscard]] std::vector<double> doublesOf(const aiMaterialProperty& property); ///< likewise; of doubles only
[[nodiscard]] std::optional<std::string_view> textOf(const aiMaterialProperty& property);
[[nodiscard]] std::string_view bytesOf(const aiMaterialProperty& property);

/// A single number, if that is what it is.
[[nodiscard]] std::optional<int> intOf(const aiMaterialProperty& property);
[[nodiscard]] std::optional<float> floatOf(const aiMaterialProperty& property);

} // namespace db2import

#pragma once
// The request address of one export: the request table's baseURL and one piece per option, in
// a fixed order, each under its request-table tag. The option values themselves never travel;
// only what the request table says for them.

#include <string>
#include <string_view>

namespace tesselex {

class CfgClass;
struct ExportOptions;

std::u16string BuildRequest(const ExportOptions& options, std::u16string_view bibId,
                            const CfgClass& urlConfig);

// Appends "name=value" (or a bare name that already holds "="), after "&" unless the address
// ends in "?".
void AddParameter(std::u16string& address, std::u16string_view name, std::u16string_view value);

}  // namespace tesselex

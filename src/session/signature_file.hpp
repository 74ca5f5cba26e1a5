// Where the signature table comes from: the file that this user has registered, one that lies in
// the current folder, or the one that comes with the program.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "containers/signatures.hpp"
#include "project/source_coding.hpp"
#include "session/command_context.hpp"
#include "support/messages.hpp"
#include "support/result.hpp"
#include "support/settings_store.hpp"

namespace vellmark {

/// The full path of the registered file, "" for none.
[[nodiscard]] std::string OpenRegisteredSigFile(const SettingsStore& store);

/// Registers a file under its full path. Why that cannot be kept; none when it was.
[[nodiscard]] Reason RegisterSigFile(SettingsStore& store, const std::string& path);

/// The same with a file that has entries of a table. False after a message.
[[nodiscard]] bool RegisterSignatures(SettingsStore& store, const std::string& path,
                                      Messages& messages);

/// The bytes of a .sig file.
[[nodiscard]] Result<std::string> ReadSigFile(const std::string& path);
/// The same; nothing after a message when it cannot be read.
[[nodiscard]] std::optional<std::string> ReadSigFile(const std::string& path, Messages& messages);

/// Whether the bytes of a file have an entry of a table: any text has lines that can be read as
/// entries of no extension.
[[nodiscard]] bool HasSignatures(std::string_view bytes);

/// The registered table. When none is registered or it cannot be read, the .sig files of the
/// current folder are looked at: a single one is taken and registered, of several a person picks
/// one, and without a person none is taken. The next choice is the table that comes with the
/// program (`CommandContext::shippedFolders`), the last one the generic row alone.
[[nodiscard]] SignatureTable LoadSignatureTable(CommandContext& context, Messages& messages);

/// The table of the running session, which is loaded when it is asked for the first time.
[[nodiscard]] const SignatureTable& SignaturesOf(CommandContext& context, Messages& messages);

/// The same as a lookup for an inclusion, which must not outlive the session.
[[nodiscard]] SignatureLookup SignatureLookupOf(CommandContext& context, Messages& messages);

}  // namespace vellmark

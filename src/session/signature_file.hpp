// Where the signature table comes from: the file that this user has registered, one that lies in
// the current folder, or the one that comes with the program.
#pragma once

#include <optional>
#include <string>

#include "containers/signatures.hpp"
#include "project/source_coding.hpp"
#include "session/command_context.hpp"
#include "session/terminal.hpp"
#include "support/settings_store.hpp"

namespace vellmark {

/// The full path of the registered file, "" for none.
[[nodiscard]] std::string OpenRegisteredSigFile(const SettingsStore& store);

/// Registers a file under its full path. Why that cannot be kept, in words; "" when it was.
[[nodiscard]] std::string RegisterSigFile(SettingsStore& store, const std::string& path);

/// The bytes of a .sig file; nothing, and the reason in words, when it cannot be read.
[[nodiscard]] std::optional<std::string> ReadSigFile(const std::string& path, std::string& reason);

/// The registered table. When none is registered or it cannot be read, the .sig files of the
/// current folder are looked at: a single one is taken and registered, of several a person picks
/// one, and without a person none is taken. The next choice is the table that comes with the
/// program (`CommandContext::shippedSignatures`), the last one the generic row alone.
[[nodiscard]] SignatureTable LoadSignatureTable(CommandContext& context,
                                                TerminalMessages& messages);

/// The table of the running session, which is loaded when it is asked for the first time.
[[nodiscard]] const SignatureTable& SignaturesOf(CommandContext& context,
                                                 TerminalMessages& messages);

/// The same as a lookup for an inclusion, which must not outlive the session.
[[nodiscard]] SignatureLookup SignatureLookupOf(CommandContext& context,
                                                TerminalMessages& messages);

}  // namespace vellmark

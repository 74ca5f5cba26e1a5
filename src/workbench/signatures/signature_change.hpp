// Files of a volume that nobody has given a type yet, shown one after the other to be given one.
#pragma once

namespace vellmark {

class TVellmark;

/// Asks for each file of the open volume whose signature is the generic one what becomes of it.
void ChangeGenericSignatures(TVellmark& window);

}  // namespace vellmark

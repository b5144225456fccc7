// The reference host's document file: a whole DocumentSnapshot as one data-model file
// (the chunk layout is in ARCHITECTURE.md, "The document file"). Saving refuses a record
// that opening would refuse, so whatever saves opens again, and opening then saving gives
// the same bytes.
#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "refhost/docsnapshot.h"

class BinInput;
class BinOutput;
class ICurveSet;

namespace refhost {

// Told the fraction done, from 0 to 1; answering false stops the work.
using DocProgress = std::function<bool(float)>;

// Writes the whole document. The file is written next to `path` and renamed over it at the
// end, so a failed save leaves an existing file as it was. False with `why`.
bool writeDocumentFile(const std::string& path, const DocumentSnapshot& doc, std::string* why,
                       const DocProgress& progress = {});
// Reads a whole document. A truncated or corrupt file is refused whole: false, `why` names the
// file and the byte where reading stopped, and `out` is untouched.
bool readDocumentFile(const std::string& path, DocumentSnapshot* out, std::string* why,
                      const DocProgress& progress = {});

// The same on streams: the root chunk and everything in it, 8-byte lengths. `out` is not
// flushed. `name` names the source in `why`.
bool writeDocument(BinOutput& out, const DocumentSnapshot& doc, std::string* why,
                   const DocProgress& progress = {});
bool readDocument(BinInput& in, const std::string& name, DocumentSnapshot* out, std::string* why,
                  const DocProgress& progress = {});

// Why the record cannot be stored, or empty when it can; *object gets the index of the
// object at fault, -1 for the document itself.
std::string checkDocument(const DocumentSnapshot& doc, int64_t* object);

// The set a stored curve-set record makes (count 0), or null when its class id names no
// curve set or the record does not read to its end; *why (if given) says which.
ICurveSet* readCurveSetRecord(const std::vector<uint8_t>& record, std::string* why);

}  // namespace refhost

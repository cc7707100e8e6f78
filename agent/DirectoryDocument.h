// The directory as a JSON document: what `-j` prints and `--previous` reads. docs/formats.md
// describes it, docs/output.schema.json defines it.
#pragma once

#include "agent/DirectoryView.h"
#include "agent/InputFile.h"
#include "agent/Output.h"
#include "platform/VlanSubIntfConfigDir.h"

namespace Agent {

/// Write a document, one subinterface a line. Flushes `output`.
void writeDirectoryDocument(Output &output, DirectoryView const &view, bool ready);

/// Enter what a document holds into `directory`, as what an earlier run left. Names that are not
/// registered become interfaces that nothing else refers to: current names are registered first.
/// Throws an Error for a document that is not one.
void readDirectoryDocument(InputFile &file, VlanSubIntfConfigLib::VlanSubIntfConfigDir &directory);

} // namespace Agent

#include "containers/design/HCODesignXMLReader.h"

#include "containers/design/Documents.h"

void HCODesignXMLReader::parse() {
    if (profile_) return;
    documents::requireFile(path_);
    profile_ = documents::reading(path_, [&] {
        return std::make_unique<DesignXML::Profile>(lmx60::parseFile<DesignXML::Profile>(path_));
    });
}

#include "containers/design/HCODesignXMLReader.h"

#include "containers/design/Documents.h"

void HCODesignXMLReader::parse() {
    profile_.reset();
    profile_ = documents::readFile<DesignXML::Profile>(path_);
}

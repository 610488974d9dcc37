// Binds a synthesis report into its records.

#include "containers/design/HCODesignXMLReader.h"

#include <exception>
#include <iostream>

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::cerr << "usage: bind_report DOCUMENT\n";
        return 2;
    }
    try {
        HCODesignXMLReader(arguments[1]).parse();
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << '\n';
        return 1;
    }
}

#pragma once

#include <string>

namespace lumora::service {

// What the studio needs beside the program: in the build tree, or where both are installed.

/// The terminal host.
std::string hostBesideProgram();
/// The folder of the built page; one that is not there when it was not built.
std::string studioPageDirectory();
/// The page of the message screens.
std::string messagePageFile();

}  // namespace lumora::service

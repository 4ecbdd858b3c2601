// SPDX-License-Identifier: Apache-2.0
#include "port/modem_port.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "port/backend.h"

namespace kor::modem {

namespace {

constexpr char kVariable[] = "KWWAN_MODEM";
constexpr char kEntry[] = "kwwan_modem_open";

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// The folder of this library, with a slash at its end; empty when the loader does not tell: then it searches.
std::string OwnFolder() {
  Dl_info info;
  if (dladdr(reinterpret_cast<const void*>(&OwnFolder), &info) == 0 || info.dli_fname == nullptr) return "";
  const std::string path = info.dli_fname;
  return path.substr(0, path.rfind('/') + 1);
}

// A name of letters only, so that no other folder's library can be meant.
std::string LibraryOf(const std::string& modem, const std::string& name) {
  if (name.empty() || !std::all_of(name.begin(), name.end(), IsLetter)) {
    throw std::runtime_error(std::string(kVariable) + ": \"" + modem +
                             "\" is not NAME or NAME:ARGUMENT with a NAME of letters");
  }
  return OwnFolder() + "libkwwan_modem_" + name + ".so.0";
}

// Never closed: the modem lives until the process ends. RTLD_GLOBAL: a host finds by name what only this backend can
// do.
ModemPort& Open() {
  const char* const chosen = getenv(kVariable);
  if (chosen == nullptr || *chosen == '\0') {
    throw std::runtime_error(std::string("no modem is chosen: start kwwand with --modem, or set ") + kVariable +
                             " (simulated)");
  }
  const std::string modem = chosen;
  const std::string name = modem.substr(0, modem.find(':'));
  const std::string argument = name.size() < modem.size() ? modem.substr(name.size() + 1) : "";
  void* const library = dlopen(LibraryOf(modem, name).c_str(), RTLD_NOW | RTLD_GLOBAL);
  if (library == nullptr) throw std::runtime_error("no backend for the modem \"" + name + "\": " + dlerror());
  const auto open = reinterpret_cast<decltype(&kwwan_modem_open)>(dlsym(library, kEntry));
  if (open == nullptr) throw std::runtime_error("no backend for the modem \"" + name + "\": " + dlerror());
  return *open(argument.c_str());
}

}  // namespace

ModemPort& ModemPort::Get() {
  static ModemPort& port = Open();
  return port;
}

}  // namespace kor::modem

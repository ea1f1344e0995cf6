#pragma once

namespace host {

// Restricts this process's PATH to the system's folders and the program's own, so that no library
// or program comes from elsewhere, and makes the system folder its working folder, as a service has
// it: shells do not begin where somebody happened to start the host. The PATH that was found is
// kept in the variable ORN_TSR_OLD_PATH, from which shells and other children get it back. A host
// that another host started finds both done, and keeps that variable. Called before there is a
// second thread.
void RestrictSearchPath();

}  // namespace host

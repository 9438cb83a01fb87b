#pragma once

#include <memory>
#include <string>

class ChemistryLibrary;
class Molecule;

// Reads one stored structure: writes the CDXML to a temporary file, has the library's molecule
// read it and deletes the file. Empty text gives none, with no file and no library call.
// Raises error 429 "Active-X cannot create Strucora10.Molecule object" when the library is
// missing (the temporary file then stays); other creation errors keep their number.
std::unique_ptr<Molecule> MoleculeFromCDXML(ChemistryLibrary& library, const std::string& cdxml);

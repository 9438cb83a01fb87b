#pragma once

#include "ChemistryLibrary.h"
#include "LfError.h"

#include <condition_variable>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

// What the molecules of a FakeChemistryLibrary share: the files they read and, for tests of a
// rebuild whose parsing falls behind, a gate that holds reads back. Molecules read on the
// rebuild's reader threads, so everything here is guarded.
class FakeReadLog {
public:
    std::vector<std::string> paths() const
    {
        std::lock_guard lock(m_mutex);
        return m_paths;
    }
    // From now on only n more reads pass; the others wait. Negative: all pass.
    void allowReads(int n)
    {
        {
            std::lock_guard lock(m_mutex);
            m_allowed = n;
        }
        m_changed.notify_all();
    }
    void read(const std::string& path)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_allowed != 0; });
        if (m_allowed > 0)
            --m_allowed;
        m_paths.push_back(path);
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_paths;
    int m_allowed = -1;
};

// A chemistry library for tests: a molecule "reads" a file by keeping its text, so a test can
// see what the index stores without the toolkit. A file reading "unreadable" fails as a
// structure the toolkit cannot parse does.
class FakeMolecule : public Molecule {
public:
    explicit FakeMolecule(FakeReadLog* log) : m_log(log) {}
    explicit FakeMolecule(std::string text) { m_record = recordOf(text); }

    void Read(const std::string& path) override
    {
        if (m_log)
            m_log->read(path);
        std::ifstream in(path, std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        if (text.str() == "unreadable")
            throw LfError(LfError::kObjectError513, "FakeMolecule.Read", "cannot parse");
        m_record = recordOf(text.str());
    }
    MoleculeRecord record() const override { return m_record; }

    static MoleculeRecord recordOf(const std::string& text)
    {
        MoleculeRecord r;
        r.binary = "mol:" + text;
        r.fingerprint[0] = text.size();
        r.fingerprint[31] = 0x8000000000000001ull;
        r.atomTypes[1] = text.size() * 3;
        r.heavyAtoms = static_cast<uint32_t>(text.size());
        r.bonds = 2;
        r.rings = 1;
        return r;
    }

private:
    FakeReadLog* m_log = nullptr;
    MoleculeRecord m_record;
};

class FakeChemistryLibrary : public ChemistryLibrary {
public:
    // What CreateMolecule raises instead of making one (0: nothing).
    uint32_t createError = 0;
    std::string createErrorText = "cannot create object";
    bool drawingApplicationRuns = false;
    bool drawingApplicationFails = false; // it cannot be started
    int drawingApplicationsStarted = 0;
    FakeReadLog reads; // temporary files the molecules read

    std::unique_ptr<Molecule> CreateMolecule() override
    {
        if (createError)
            throw LfError(createError, "Strucora10.Molecule", createErrorText);
        return std::make_unique<FakeMolecule>(&reads);
    }
    std::shared_ptr<DrawingApplication> AttachDrawingApplication() override
    {
        return drawingApplicationRuns ? std::make_shared<DrawingApplication>() : nullptr;
    }
    std::shared_ptr<DrawingApplication> CreateDrawingApplication() override
    {
        if (drawingApplicationFails)
            throw LfError(kCannotCreateObject, "Sketchwell.Application", "cannot create object");
        ++drawingApplicationsStarted;
        return std::make_shared<DrawingApplication>();
    }
};

#pragma once

#include <cstdint>
#include <string>

// Which tasks this computer offers, from its registry: the database engine's instances, the
// product's key and the chemistry component's registration. The task picker disables what is
// not offered; the command line refuses it with the reason.
class TaskOffer {
public:
    // Reads the registry.
    static TaskOffer ForThisComputer();
    TaskOffer(bool enginePresent, bool productPresent, bool chemistryPresent);

    bool offers(int32_t task) const { return whyNot(task).empty(); }
    // Why the task is not offered, "" when it is.
    std::string whyNot(int32_t task) const;
    // The task the picker starts with.
    int32_t preselected() const;

private:
    bool m_enginePresent;
    bool m_productPresent;
    bool m_chemistryPresent;
};

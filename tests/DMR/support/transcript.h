// What the library prints as other people's tools see it, one golden file a topic: standard output
// as it is (the escape character written as \e), standard error behind "! ", the operator's console
// behind "| ", and behind "> " what was asked of the bus, the middleware and the system meanwhile.
// Source line numbers are masked.
#pragma once

#include <functional>
#include <string>

#include "DMR/support/bare_fixture.h"

namespace dmrtest {

class Transcript : public Bare {
protected:
    void SetUp() override;

    /// Does something and writes down what came of it.
    void step(const std::string& title, const std::function<void()>& action);
    /// The same for something that ends the process: it happens in a child, and so does everything
    /// that it changes. How the child ended is written down behind "= ".
    void end(const std::string& title, const std::function<void()>& action);
    /// Does something that belongs to no step.
    void aside(const std::function<void()>& action);
    /// What was written down is the content of the golden file. If it is not, it is left in the
    /// build tree, to be compared and, when the change is meant, to take the file's place.
    void expectGolden(const std::string& name);

    /// Handed to an event that carries a pointer: which of the service's records it is.
    static std::string recordAt(unsigned long parameter);

private:
    std::string text_;
};

} // namespace dmrtest

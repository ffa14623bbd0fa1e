// A minimal host: opens the installation file given on the command line and
// prints the driver's URI and the number of versions.
#include <TavrelScenarioTemplateDb/TavrelScenarioTemplateDb.h>

#include <iostream>
#include <memory>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: tavrel-host INSTALLATION_FILE\n";
        return 2;
    }
    try {
        TavrelScenarioTemplateDb::TavrelDatabaseDriver driver(argv[1], "*", "*");
        std::shared_ptr<ScenarioTemplateDb::DatabaseDirectory> root = driver.getRootDirectory();
        std::cout << driver.getURI() << "\n" << root->getDirectoryNumber() << " versions\n";
    } catch (const ScenarioTemplateDb::Exception& e) {
        std::cerr << "error: " << e.message << " (code " << e.code << ")\n";
        return 1;
    }
    return 0;
}

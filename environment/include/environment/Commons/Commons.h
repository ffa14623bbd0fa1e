#pragma once

#include <environment/Commons/ConfigFile.h>
#include <environment/Commons/Encoding.h>
#include <environment/Commons/FileUtils.h>
#include <environment/Commons/System.h>

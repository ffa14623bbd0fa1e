#pragma once

// Every class of the scenario item model.

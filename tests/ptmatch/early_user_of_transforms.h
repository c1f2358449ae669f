#pragma once

/// Whether the class-wide identities can be used now. In transform_instances_test.cpp.
bool identitiesAreThere();

/// What it said to a static object of transforms_before_main.cpp.
bool identitiesWereThereBeforeMain();

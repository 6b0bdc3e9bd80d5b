#pragma once

#include <kz3/lattiq/cleaning.h>
#include <kz3/lattiq/connectivity.h>
#include <kz3/lattiq/core.h>
#include <kz3/lattiq/element_type.h>
#include <kz3/lattiq/formats.h>
#include <kz3/lattiq/geometry.h>
#include <kz3/lattiq/metrics.h>
#include <kz3/lattiq/quality.h>
#include <kz3/lattiq/search.h>

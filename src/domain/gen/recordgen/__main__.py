import sys

from .generate import main

sys.exit(main())

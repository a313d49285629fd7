# The simulated daemons: `up` starts them before the web server, `down`
# stops them after it, `status` reports them. Each daemon added under
# sim/daemons/ is started, stopped and reported from these three functions.

start_daemons() { :; }

stop_daemons() { :; }

status_daemons() { :; }

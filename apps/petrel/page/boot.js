// Sees that the page has started. A network that changes while its modules are loaded leaves it half made, and
// nobody should have to load it anew by hand. Not a module itself, so that old browsers run it.
addEventListener('load', function () {
    if (document.documentElement.dataset.started) return;
    if ('noModule' in document.createElement('script')) {
        setTimeout(function () {
            location.reload();
        }, 1000);
        return;
    }
    document.getElementById('state').textContent =
        'This browser is too old. · Dieser Browser ist zu alt. · Este navegador es demasiado antiguo.';
});
